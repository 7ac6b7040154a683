// The rules for the tags of subdivision surfaces.

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

#include "ShapeRules.h"
#include "Values.h"
#include "text/SimilarNames.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

using Names = std::vector<std::string>;

/// Checks the tags of one mesh.
class TagCheck {
public:
    TagCheck(const GroupAttribute& geometry, const ShapeElements& elements, Drafts& drafts)
        : geometry(geometry), elements(elements), drafts(drafts) {}

    void checkName(const char* tag, const Names& known) const {
        const Attribute given = ChildOf(geometry, tag);
        const std::string_view text = TextOf(given);
        if (!given.isValid() || std::find(known.begin(), known.end(), text) != known.end()) return;
        add(tag,
            "it has the unknown value " + Quoted(text) + TellarInternal::DidYouMean(known, text));
    }

    /// Returns false if an index is below 0 or not below `count`.
    bool checkIndices(const char* tag, std::int64_t count, const char* noun) const {
        const Integers indices = IntegersOf(ChildOf(geometry, tag));
        if (!indices.isSound) return add(tag, "it does not hold integers");
        for (const std::int32_t index : indices.values)
            if (index < 0 || index >= count)
                return add(tag, std::string("it holds the ") + noun + ' ' + std::to_string(index) +
                                    ", and " + ThereAre(count, noun));
        return true;
    }

    /// Checks creases whose points exist.
    void checkCreases() const {
        const std::int64_t points = countOf("creaseIndices");
        const Integers lengths = IntegersOf(ChildOf(geometry, "creaseLengths"));
        std::int64_t sum = 0;
        std::int64_t edges = 0;
        for (const std::int32_t length : lengths.values) {
            if (length < 2) {
                add("creaseLengths", "it holds the length " + std::to_string(length));
                return;
            }
            sum += length;
            edges += length - 1;
        }
        if (!lengths.isSound || sum != points) {
            add("creaseLengths", "its sum is " + std::to_string(sum) +
                                     ", and \"creaseIndices\" has " + Counted(points, "point"));
            return;
        }
        checkSharpness("creaseSharpness", {static_cast<std::int64_t>(lengths.values.size()), edges},
                       "crease");
    }

    /// Checks that there are as many numbers as one of the counts, and that they are from 0 on.
    void checkSharpness(const char* tag, std::initializer_list<std::int64_t> counts,
                        const char* noun) const {
        const std::vector<double> numbers = NumbersOf(ChildOf(geometry, tag));
        const auto count = static_cast<std::int64_t>(numbers.size());
        if (std::find(counts.begin(), counts.end(), count) == counts.end())
            add(tag,
                "it holds " + Counted(count, "number") + " for " + Counted(*counts.begin(), noun));
        for (const double number : numbers)
            if (!(number >= 0)) {
                add(tag, "it holds the sharpness " + NumberText(number));
                return;
            }
    }

    std::int64_t countOf(const char* tag) const {
        const auto count = CountValues(ChildOf(geometry, tag));
        return count ? count->values : 0;
    }

private:
    bool add(const char* tag, const std::string& problem) const {
        drafts.add(Rule::SubdivisionTags, std::string("geometry.") + tag, problem);
        return false;
    }

    const GroupAttribute& geometry;
    const ShapeElements& elements;
    Drafts& drafts;
};

} // namespace

void CheckSubdivision(const GroupAttribute& geometry, const ShapeElements& elements,
                      Drafts& drafts) {
    const TagCheck check(geometry, elements, drafts);
    check.checkName("subdivisionScheme", {"catmull-clark", "loop", "bilinear", "none"});
    check.checkName("interpolateBoundary", {"none", "edges", "edgesAndCorners"});
    check.checkName("interpolateFaceVarying",
                    {"none", "cornersOnly", "cornersPlus1", "cornersPlus2", "boundaries", "all"});
    check.checkIndices("holeFaces", elements.faces, "face");
    if (check.checkIndices("creaseIndices", elements.points, "point")) check.checkCreases();
    if (check.checkIndices("cornerIndices", elements.points, "point"))
        check.checkSharpness("cornerSharpness", {check.countOf("cornerIndices")}, "point");
}

} // namespace TELLAR
