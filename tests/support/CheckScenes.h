#ifndef TELLAR_TEST_CHECKSCENES_H
#define TELLAR_TEST_CHECKSCENES_H

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneCheck.h>

#include "SceneBuilders.h"

/// Checks of small scenes.
namespace TellarTest {

using Names = std::vector<std::string>;

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

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

inline OxAttribute::Attribute Floats(const std::vector<float>& values, int tupleSize = 3) {
    return OxAttribute::FloatAttribute(values, tupleSize);
}

inline OxAttribute::Attribute Ints(const std::vector<std::int32_t>& values) {
    return OxAttribute::IntAttribute(values, 1);
}

/// A material without anything to find.
inline OxAttribute::Attribute Matte() {
    return Group({{"surfaceShader", Text("matte")}});
}

/// Two triangles around the unit square, with more geometry.
inline Children Square(const Children& geometry = {}) {
    Children whole{{"point", Group({{"P", Floats({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0})}})},
                   {"poly", Group({{"vertexList", Ints({0, 1, 2, 0, 2, 3})},
                                   {"startIndex", Ints({0, 3, 6})}})}};
    whole.insert(whole.end(), geometry.begin(), geometry.end());
    return {{"type", Text("polymesh")}, {"material", Matte()}, {"geometry", Group(whole)}};
}

/// Values along a shape.
inline OxAttribute::GroupAttribute Set(const char* scope, const char* type,
                                       const OxAttribute::Attribute& value) {
    return Group({{"scope", Text(scope)}, {"inputType", Text(type)}, {"value", value}});
}

/// The square with such values.
inline Children WithSet(const char* name, const OxAttribute::GroupAttribute& set) {
    return Square({{"arbitrary", Group({{name, set}})}});
}

/// A sphere with more attributes.
inline Children Ball(double radius, const Children& more = {}) {
    Children attrs{{"type", Text("sphere")},
                   {"material", Matte()},
                   {"geometry", Group({{"radius", OxAttribute::DoubleAttribute(radius)}})}};
    attrs.insert(attrs.end(), more.begin(), more.end());
    return attrs;
}

} // namespace TellarTest

#endif
