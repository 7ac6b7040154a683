#ifndef TELLAR_TEST_CHECKSCENES_H
#define TELLAR_TEST_CHECKSCENES_H

#include <string>
#include <vector>

#include <OxTellarProducers/SceneCheck.h>

#include "SceneBuilders.h"

/// Checks of small scenes.
namespace TellarTest {

inline TELLAR::CheckReport Check(const OxAttribute::GroupAttribute& ops,
                                 const TELLAR::CheckOptions& options = {}) {
    return TELLAR::CheckScene(MakeClient(ops), options);
}

/// Checks a scene that has only the location /root/it.
inline TELLAR::CheckReport CheckLocation(const Children& attrs, const Children& children = {}) {
    return Check(SceneTree(Location({}, {{"it", Location(attrs, children)}})));
}

/// "location: attribute: problem", without what to do, for each finding of a rule.
inline std::vector<std::string> ProblemsOf(const TELLAR::CheckReport& report,
                                           const std::string& rule) {
    std::vector<std::string> problems;
    for (const TELLAR::CheckFinding& finding : report.findings)
        if (finding.rule == rule)
            problems.push_back(finding.location + ": " +
                               (finding.attribute.empty() ? "" : finding.attribute + ": ") +
                               finding.text.substr(0, finding.text.rfind("; ")));
    return problems;
}

/// The names of the rules that found something, in their order.
inline std::vector<std::string> RulesOf(const TELLAR::CheckReport& report) {
    std::vector<std::string> rules;
    for (const TELLAR::CheckTotal& total : report.totals)
        rules.push_back(total.rule);
    return rules;
}

} // namespace TellarTest

#endif
