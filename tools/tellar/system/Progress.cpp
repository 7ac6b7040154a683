#include "Progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <utility>

#include "Terminal.h"
#include "text/Utf8.h"

namespace TellarTool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kFirst = std::chrono::milliseconds(500);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr const char* kWipe = "\r\x1b[K";
constexpr int kBarWidth = 20;
/// No remaining time is shown for work that takes longer.
constexpr double kLongestSeconds = 99 * 3600.0;

/// "1,234,567".
std::string WithCommas(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, ",");
    return digits;
}

std::string InBrackets(std::size_t start, std::size_t length) {
    std::string bar(kBarWidth, ' ');
    bar.replace(start, length, length, '=');
    return "[" + bar + "]";
}

/// A bar for work of unknown length: a block that moves to and fro.
std::string BarOfStep(int step) {
    constexpr int block = 4;
    constexpr int travel = kBarWidth - block;
    const int place = step % (2 * travel);
    return InBrackets(static_cast<std::size_t>(place < travel ? place : 2 * travel - place), block);
}

/// "1:05", "2:00:00".
std::string ClockText(double seconds) {
    const auto whole = static_cast<int>(seconds);
    char text[32];
    if (whole < 3600)
        std::snprintf(text, sizeof(text), "%d:%02d", whole / 60, whole % 60);
    else
        std::snprintf(text, sizeof(text), "%d:%02d:%02d", whole / 3600, whole / 60 % 60,
                      whole % 60);
    return text;
}

/// The first UTF-8 characters, one fewer than the terminal has columns. A line that the terminal
/// breaks into two could not be deleted.
std::string_view Cut(std::string_view line, int columns) {
    int left = columns - 1;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (!TellarInternal::IsUtf8Continuation(line[i]) && left-- == 0) return line.substr(0, i);
    }
    return line;
}

} // namespace

Progress::Progress(Line line, bool isWanted) : line(std::move(line)) {
    if (isWanted && IsTerminal(stderr)) thread = std::thread([this] { run(); });
}

Progress::~Progress() {
    if (!thread.joinable()) return;
    {
        const std::lock_guard<std::mutex> guard(lock);
        isEnded = true;
    }
    ended.notify_all();
    thread.join();
}

void Progress::interrupt(const std::function<void()>& write) {
    const std::lock_guard<std::mutex> guard(lock);
    wipe();
    write();
}

/// The caller holds the lock.
void Progress::wipe() {
    if (!isShown) return;
    std::fputs(kWipe, stderr);
    std::fflush(stderr);
    isShown = false;
}

void Progress::run() {
    const Clock::time_point start = Clock::now();
    std::unique_lock<std::mutex> guard(lock);
    const auto isOver = [this] { return isEnded; };
    if (ended.wait_for(guard, kFirst, isOver)) return;
    for (int step = 0;; ++step) {
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        const std::string text = line(step, elapsed.count());
        const std::string_view fitting = Cut(text, TerminalWidth(stderr));
        std::fprintf(stderr, "%s%.*s", kWipe, static_cast<int>(fitting.size()), fitting.data());
        std::fflush(stderr);
        isShown = true;
        if (ended.wait_for(guard, kInterval, isOver)) break;
    }
    wipe();
}

Progress::Line CountLine(const std::atomic<std::uint64_t>& count) {
    return [&count](int step, double seconds) {
        const std::uint64_t locations = count.load();
        const auto rate = static_cast<std::uint64_t>(static_cast<double>(locations) / seconds);
        return BarOfStep(step) + ' ' + WithCommas(locations) + " locations, " + WithCommas(rate) +
               "/s";
    };
}

std::string FractionLine(double fraction, const std::string& what, double seconds) {
    const double done = fraction > 0 ? std::min(fraction, 1.0) : 0; // NaN becomes 0
    const auto filled = static_cast<std::size_t>(done * kBarWidth);
    char percentage[16];
    std::snprintf(percentage, sizeof(percentage), " %3d%%", static_cast<int>(done * 100));
    std::string text = InBrackets(0, filled) + percentage + "  " + ClockText(seconds);
    const double left = done > 0 ? seconds * (1 - done) / done : kLongestSeconds;
    if (left < kLongestSeconds) text += ", about " + ClockText(left) + " left";
    if (!what.empty()) text += "  " + what;
    return text;
}

} // namespace TellarTool
