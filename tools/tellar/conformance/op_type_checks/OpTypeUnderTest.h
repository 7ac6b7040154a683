#ifndef TELLAR_TOOL_OPTYPEUNDERTEST_H
#define TELLAR_TOOL_OPTYPEUNDERTEST_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <OxTellarSDK/OpType.h>

#include "CookedScene.h"
#include "OpCase.h"
#include "Subject.h"
#include "Verdict.h"

namespace TellarTool {

/// Tells the first few faults of a check, and counts the others.
class FirstFaults {
public:
    explicit FirstFaults(Verdict& verdict) : verdict(verdict) {}
    ~FirstFaults();
    FirstFaults(const FirstFaults&) = delete;
    FirstFaults& operator=(const FirstFaults&) = delete;

    void add(const std::string& fault);
    void step(const std::string& text) { verdict.step(text); }
    std::size_t count() const { return number; }

private:
    Verdict& verdict;
    std::size_t number = 0;
};

/// The description of the subject's op type. Null, with a reason to skip the check, when the type
/// is not registered.
const OxOpType::Description* DescriptionOf(const Subject& subject, Verdict& verdict);

/// Ops of the type under test: those in the user's scene, otherwise some with sample arguments over
/// a small scene. Locations of each of them can be cooked. A note says why if there are none. Probe
/// inputs are registered.
std::vector<OpCase> UsableCases(const Subject& subject, Verdict& verdict);

/// Whether an op type may take other inputs than its scene gives it: false for "none".
bool TakesInputs(const OxOpType::Description& description);

} // namespace TellarTool

#endif
