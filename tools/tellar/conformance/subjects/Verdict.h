#ifndef TELLAR_TOOL_VERDICT_H
#define TELLAR_TOOL_VERDICT_H

#include <mutex>
#include <string>

namespace TellarTool {

// How lines of a check's output begin.
constexpr const char* kFaultMark = "@fault ";
constexpr const char* kNoteMark = "@note ";
constexpr const char* kSkipMark = "@skip ";
constexpr const char* kStepMark = "@step ";

/// The findings of one check, as the process that runs it writes them to standard output. Each one
/// is written at once, so that none is lost when the plug-in crashes. Any thread may call any
/// function.
class Verdict {
public:
    /// The plug-in breaks its contract. A check without a fault is passed.
    void fault(const std::string& text);
    /// A remark about a plug-in that keeps its contract.
    void note(const std::string& text);
    /// The check does not apply to the plug-in.
    void skip(const std::string& reason);

    /// The part of the check that begins, to be told when the plug-in crashes in it.
    void step(const std::string& text);

    /// A fault unless the condition holds. Returns the condition.
    bool expect(bool condition, const std::string& textOfFault);

private:
    void write(const std::string& kind, const std::string& text);

    std::mutex lock;
};

} // namespace TellarTool

#endif
