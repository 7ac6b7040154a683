// The rules for curves.

#include <algorithm>
#include <string>
#include <vector>

#include "ShapeRules.h"
#include "Values.h"
#include "text/SimilarNames.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

void CheckBasis(const GroupAttribute& geometry, Drafts& drafts) {
    static const std::vector<std::string> known = {"linear", "bezier", "bspline", "catmull-rom"};
    const Attribute basis = ChildOf(geometry, "basis");
    const std::string_view text = TextOf(basis);
    if (!basis.isValid() || std::find(known.begin(), known.end(), text) != known.end()) return;
    drafts.add(Rule::CurvesCount, "geometry.basis",
               "it has the unknown value " + Quoted(text) +
                   TellarInternal::DidYouMean(known, text));
}

} // namespace

void CheckCurves(const GroupAttribute& geometry, ShapeElements& elements, Drafts& drafts) {
    constexpr const char* kCounts = "geometry.numVertices";
    CheckBasis(geometry, drafts);
    const Attribute attribute = ChildOf(geometry, "numVertices");
    if (!attribute.isValid()) {
        elements.faces = 1;
        return;
    }
    const Integers counts = IntegersOf(attribute);
    elements.faces = static_cast<std::int64_t>(counts.values.size());
    if (!counts.isSound) return drafts.add(Rule::CurvesCount, kCounts, "it does not hold integers");
    std::int64_t sum = 0;
    for (const std::int32_t count : counts.values) {
        if (count < 0)
            return drafts.add(Rule::CurvesCount, kCounts,
                              "it holds the number " + std::to_string(count));
        sum += count;
    }
    if (sum != elements.points)
        drafts.add(Rule::CurvesCount, kCounts,
                   "its curves have " + Counted(sum, "point") + ", and " +
                       ThereAre(elements.points, "point"));
}

} // namespace TELLAR
