#ifndef OXTELLARPRODUCERS_FINDINGS_H
#define OXTELLARPRODUCERS_FINDINGS_H

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace TELLAR {

/// The mistakes that validation finds.
enum class Fault : std::uint8_t {
    UsedAfterRelease,
    ReleasedTwice,
    NotOwned, ///< released without a reference
    Leaked,
    WrongKind,
    Foreign,
    BorrowedTooLong,
    Null,
    AfterLoan, ///< a handle that was lent for a call is used after it
    AfterRender,
    TwoCallsAtOnce,
    WrongThread
};

/// "used after release" and so on.
const char* NameOf(Fault fault);

/// The mistake, the slot in which it was found, and the slot that made the handle. Findings that
/// agree in all of them are repetitions of one.
struct FindingKey {
    Fault fault;
    std::string slot; ///< or the function of a listener
    std::string origin;

    bool operator<(const FindingKey& other) const;
};

/// The findings of this process. The first of each key is written to the standard error stream at
/// once, in one line, and logged at info level by "Validation". Others are counted.
///
/// Any thread may call any function.
class Findings {
public:
    /// `isFatal`: the first finding ends the process with abort().
    explicit Findings(bool isFatal) : isFatal(isFatal) {}

    void report(const FindingKey& key, const std::string& text);

    std::int64_t getCount() const { return count.load(std::memory_order_relaxed); }

    /// Writes a line, and below it those findings that were repeated since the last summary.
    void summarize(const std::string& line);

private:
    struct Repeated {
        std::int64_t count = 0;
        std::int64_t summarized = 1;
    };

    const bool isFatal;
    std::atomic<std::int64_t> count{0};
    std::mutex mutex; // guards the next member, and orders lines
    std::map<FindingKey, Repeated> findings;
};

} // namespace TELLAR

#endif
