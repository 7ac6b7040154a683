#ifndef TELLARINTERNAL_JSONWRITER_H
#define TELLARINTERNAL_JSONWRITER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "text/NumberText.h"

namespace TellarInternal {

/// Appends a string as JSON, in quotes. `bytes` must be UTF-8.
void AppendJsonString(std::string& out, std::string_view bytes);

/// Appends a finite number as JSON. A double always has a point or an exponent, without which it
/// would read back as an integer.
template <typename T>
void AppendJsonNumber(std::string& out, T value) {
    const std::size_t begin = out.size();
    AppendNumber(out, value);
    const bool looksWhole = out.find_first_of(".e", begin) == std::string::npos;
    if (std::is_same_v<T, double> && looksWhole) out += ".0";
}

/// Builds a JSON text. The caller writes brackets, keys and values in the order of the text; the
/// writer adds the commas, line breaks and indentation.
class JsonWriter {
public:
    /// Layouts without line breaks, for the constructor: with a space behind each comma and colon,
    /// and without.
    static constexpr int kOneLine = -1;
    static constexpr int kDense = -2;

    /// `indent` is the number of spaces for each level, or one of the layouts above.
    explicit JsonWriter(int indent) : indent(indent) {}

    /// The text. The writer is empty afterwards.
    std::string take() { return std::move(out); }

    // ---- values ----

    /// Appends text that is JSON already.
    void raw(std::string_view text) { out += text; }
    /// `bytes` must be UTF-8.
    void string(std::string_view bytes) { AppendJsonString(out, bytes); }
    /// A string of two hexadecimal digits for each byte.
    void hexString(std::string_view bytes);
    /// `value` must be finite.
    template <typename T>
    void number(T value) {
        AppendJsonNumber(out, value);
    }

    /// An array of `count` values, each written by `writeItem(index)`. With a layout of several
    /// lines it takes as many as it needs, unless `wraps` is false.
    template <typename WriteItem>
    void list(std::size_t count, WriteItem writeItem, bool wraps = true) {
        out += '[';
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0) out += comma();
            const std::size_t start = out.size();
            writeItem(i);
            if (wraps && i > 0) wrapBefore(start);
        }
        out += ']';
    }

    // ---- objects and arrays with each member on a line of its own ----

    /// Begins an object or array. An empty one stays on its line.
    void open(char bracket);
    /// Before each item of an array.
    void nextItem();
    /// Before the value of each member of an object.
    void nextMember(std::string_view key);
    void close(char bracket);

private:
    const char* comma() const { return indent == kDense ? "," : ", "; }
    void newLine();
    /// Moves the item that begins at `start` to a new line if it is too long for this one.
    void wrapBefore(std::size_t start);

    std::string out;
    const int indent;
    std::size_t depth = 0;
    bool isFirst = true; // whether the innermost object or array is empty so far
    std::size_t lineStart = 0;
};

} // namespace TellarInternal

#endif
