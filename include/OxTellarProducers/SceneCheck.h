#ifndef OXTELLARPRODUCERS_SCENECHECK_H
#define OXTELLARPRODUCERS_SCENECHECK_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Looks for problems in a whole scene: locations that cannot be cooked, values that renderers
/// refuse or ignore, and parts without effect.

namespace TELLAR {

/// How bad a finding is. Ordered: a larger value is worse.
enum class CheckSeverity {
    Note,    ///< may be intended, such as a material that nothing uses
    Warning, ///< a part of the scene has no effect, or another one than was intended
    Error    ///< something cannot be cooked or drawn
};

/// "note", "warning" or "error".
TELLAR_API const char* GetCheckSeverityName(CheckSeverity severity);

/// One kind of problem that a check looks for. The texts live as long as the process.
struct CheckRule {
    const char* name; ///< such as "mesh-index"
    CheckSeverity severity;
    const char* catches; ///< what it finds, as a phrase: "a face with a point that does not exist"
    const char* advice;  ///< what to do about it, as an imperative clause
    /// Whether the rule needs the whole scene. It finds nothing when a check starts elsewhere than
    /// at "/root".
    bool needsWholeScene;
};

/// All rules, in the order in which findings about one location are listed.
TELLAR_API const std::vector<CheckRule>& GetCheckRules();

/// A problem of one location or Op.
struct CheckFinding {
    std::string rule;
    CheckSeverity severity = CheckSeverity::Note;
    std::string location;  ///< its path, which may hold any bytes; empty for a finding about an Op
    std::string attribute; ///< dotted name; empty if the problem is none of one attribute
    std::string op;        ///< the name of the Op, if the problem is known to be one of an Op
    std::string opType;
    std::string file; ///< the path of a file that is missing or at fault; empty for other problems
    std::string text; ///< one sentence, in UTF-8: what is wrong, and what to do
    /// How many other locations hold the same value with the same problem. They are not listed.
    std::uint64_t others = 0;
};

/// How many problems a rule has found, those included that are not listed.
struct CheckTotal {
    std::string rule;
    CheckSeverity severity = CheckSeverity::Note;
    std::uint64_t count = 0;
};

struct CheckOptions {
    /// The location to start at. Everything below it is checked.
    std::string start = "/root";
    /// The calling thread and new ones that end with the check; 0 means one for each processor. The
    /// report is the same for any number.
    int threads = 1;
    /// The most findings that are listed of each rule: the first ones in the order of the scene.
    std::size_t mostFindings = 100;
    /// The names of the rules to apply; all if it is empty.
    std::vector<std::string> rules;
    /// Asked before every location, on all threads of the check; true ends it. May be empty.
    std::function<bool()> isCancelled;
    /// Counts the locations while the check goes on. May be null.
    std::atomic<std::uint64_t>* progress = nullptr;
};

struct CheckReport {
    /// Those about Ops first, inputs before what uses them, then those about locations in the order
    /// of the scene.
    std::vector<CheckFinding> findings;
    /// Only rules that found something, in the order of GetCheckRules().
    std::vector<CheckTotal> totals;
    std::uint64_t locations = 0; ///< that were checked, those included that could not be cooked
    /// The check was cancelled, and the report is incomplete.
    bool isCancelled = false;

    /// The number of problems of this severity, those included that are not listed.
    [[nodiscard]] TELLAR_API std::uint64_t count(CheckSeverity severity) const;
};

/// Checks the scene that the client cooks. Values that several locations share are checked once.
/// The report takes a bounded amount of memory, however many problems there are; what is cooked
/// stays with the client.
///
/// Throws std::invalid_argument for an unknown rule and for a null client, TellarError when the
/// start cannot be cooked, and std::runtime_error when it does not exist.
///
/// Threads: any; several checks may run at once. The client may be in use elsewhere.
[[nodiscard]] TELLAR_API CheckReport
CheckScene(const std::shared_ptr<TellarRuntime::Client>& client, const CheckOptions& options = {});

} // namespace TELLAR

#endif
