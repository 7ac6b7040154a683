#ifndef TELLAR_TOOL_ORDEREDTEXT_H
#define TELLAR_TOOL_ORDEREDTEXT_H

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace TellarTool {

/// Puts texts of parts, which several threads make at the same time, in order. Parts are numbered
/// from 0 and must be begun in that order. One thread reads.
///
/// A part may hold a bounded number of bytes that are not read yet; then its thread waits. The
/// thread of the part that is being read never waits, so the walk always goes on.
class OrderedText {
public:
    explicit OrderedText(std::size_t numberOfParts);

    /// Thrown by put() after stop().
    struct Stopped {};

    void put(std::size_t part, std::string text);
    /// The part is complete, or ends with `error` behind the text that was put.
    void finish(std::size_t part, std::exception_ptr error);

    /// Called by the reader. Returns the next piece, or nothing after the last one. Throws the
    /// error of a part that failed, after its text.
    std::optional<std::string> next();
    /// Called by the reader when it wants no more text.
    void stop();

private:
    struct Part {
        std::vector<std::string> pieces;
        std::size_t bytes = 0;
        bool isFinished = false;
        std::exception_ptr error;
    };

    std::mutex lock; // guards everything below
    std::condition_variable changed;
    std::vector<Part> parts;
    std::size_t current = 0; // the part being read
    bool isStopped = false;
};

} // namespace TellarTool

#endif
