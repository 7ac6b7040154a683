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

/// Puts the texts of parts that several threads make at the same time in order. Parts are
/// numbered from 0 and must be begun in that order; one thread reads.
///
/// What a part may be ahead of the reader is bounded: its thread then waits. The part being
/// read is never held up, so there is always one thread that gets on.
class OrderedText {
public:
    explicit OrderedText(std::size_t numberOfParts);

    /// Thrown out of put() after stop().
    struct Stopped {};

    void put(std::size_t part, std::string text);
    /// The part is complete, or has failed behind what was put.
    void finish(std::size_t part, std::exception_ptr error);

    /// The next piece; nothing after the last one. Throws the error of a part that failed when
    /// its turn comes. For the reader.
    std::optional<std::string> next();
    /// The reader wants no more.
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
