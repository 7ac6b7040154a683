#include "OrderedText.h"

#include <utility>

namespace TellarTool {

namespace {

constexpr std::size_t kMostBytesAhead = 16 << 20;

} // namespace

OrderedText::OrderedText(std::size_t numberOfParts) : parts(numberOfParts) {}

void OrderedText::put(std::size_t part, std::string text) {
    std::unique_lock<std::mutex> guard(lock);
    changed.wait(
        guard, [&] { return isStopped || part == current || parts[part].bytes < kMostBytesAhead; });
    if (isStopped) throw Stopped();
    parts[part].bytes += text.size();
    parts[part].pieces.push_back(std::move(text));
    changed.notify_all();
}

void OrderedText::finish(std::size_t part, std::exception_ptr error) {
    const std::lock_guard<std::mutex> guard(lock);
    parts[part].error = std::move(error);
    parts[part].isFinished = true;
    changed.notify_all();
}

std::optional<std::string> OrderedText::next() {
    std::unique_lock<std::mutex> guard(lock);
    while (current < parts.size()) {
        Part& part = parts[current];
        changed.wait(guard, [&] { return part.isFinished || !part.pieces.empty(); });
        if (!part.pieces.empty()) {
            std::string text;
            for (const std::string& piece : std::exchange(part.pieces, {}))
                text += piece;
            part.bytes = 0;
            changed.notify_all();
            return text;
        }
        if (part.error) std::rethrow_exception(part.error);
        ++current;
        changed.notify_all();
    }
    return std::nullopt;
}

void OrderedText::stop() {
    const std::lock_guard<std::mutex> guard(lock);
    isStopped = true;
    changed.notify_all();
}

} // namespace TellarTool
