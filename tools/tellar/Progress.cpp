#include "Progress.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "Terminal.h"

namespace TellarTool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kFirst = std::chrono::milliseconds(500);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr const char* kWipe = "\r\x1b[K";

/// "1,234,567".
std::string WithCommas(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, ",");
    return digits;
}

/// A bar whose end is not known: a block that goes to and fro.
std::string Bar(int step) {
    constexpr int width = 20;
    constexpr int travel = width - 4;
    const int place = step % (2 * travel);
    std::string bar(width, ' ');
    bar.replace(static_cast<std::size_t>(place < travel ? place : 2 * travel - place), 4, "====");
    return "[" + bar + "]";
}

} // namespace

Progress::Progress(const LocationCount& count, bool isWanted) : count(count) {
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

void Progress::run() {
    const Clock::time_point start = Clock::now();
    std::unique_lock<std::mutex> guard(lock);
    const auto isOver = [this] { return isEnded; };
    if (ended.wait_for(guard, kFirst, isOver)) return;
    for (int step = 0;; ++step) {
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        const std::uint64_t locations = count.load();
        const auto rate = static_cast<std::uint64_t>(double(locations) / elapsed.count());
        std::fprintf(stderr, "%s%s %s locations, %s/s", kWipe, Bar(step).c_str(),
                     WithCommas(locations).c_str(), WithCommas(rate).c_str());
        std::fflush(stderr);
        if (ended.wait_for(guard, kInterval, isOver)) break;
    }
    std::fputs(kWipe, stderr);
    std::fflush(stderr);
}

} // namespace TellarTool
