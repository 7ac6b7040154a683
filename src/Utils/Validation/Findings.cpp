#include "Findings.h"

#include <cstdio>
#include <cstdlib>
#include <tuple>

#include "NamedLogger.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("Validation");

void WriteLine(const std::string& text) {
    const std::string line = "TELLAR_VALIDATE: " + text + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

} // namespace

const char* NameOf(Fault fault) {
    switch (fault) {
    case Fault::UsedAfterRelease:
        return "used after release";
    case Fault::ReleasedTwice:
        return "released twice";
    case Fault::NotOwned:
        return "released without a reference";
    case Fault::Leaked:
        return "leaked";
    case Fault::WrongKind:
        return "wrong kind of handle";
    case Fault::Foreign:
        return "foreign handle";
    case Fault::BorrowedTooLong:
        return "borrowed too long";
    case Fault::Null:
        return "null";
    case Fault::AfterLoan:
        return "used after the call that lent it";
    case Fault::AfterRender:
        return "after the end of the render";
    case Fault::TwoCallsAtOnce:
        return "two calls at once";
    case Fault::WrongThread:
        return "wrong thread";
    }
    return "";
}

bool FindingKey::operator<(const FindingKey& other) const {
    return std::tie(fault, slot, origin) < std::tie(other.fault, other.slot, other.origin);
}

void Findings::report(const FindingKey& key, const std::string& text) {
    count.fetch_add(1, std::memory_order_relaxed);
    const std::string line = std::string(NameOf(key.fault)) + ": " + text;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (++findings[key].count > 1) return;
        WriteLine(line);
    }
    kLogger.info("{}", line);
    if (isFatal) std::abort();
}

void Findings::summarize(const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex);
    WriteLine(line);
    for (auto& [key, repeated] : findings) {
        if (repeated.count == repeated.summarized) continue;
        repeated.summarized = repeated.count;
        WriteLine("  " + std::string(NameOf(key.fault)) + ": " + key.slot + ", " +
                  std::to_string(repeated.count) + " times");
    }
}

} // namespace TELLAR
