// The rules for values along shapes: texture coordinates, colors and others.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "ShapeRules.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

/// The number of elements of a scope; nothing for an unknown scope.
std::optional<std::int64_t> CountElements(std::string_view scope, const ShapeElements& elements) {
    if (scope == "point") return elements.points;
    if (scope == "vertex") return elements.corners;
    if (scope == "face") return elements.faces;
    if (scope == "primitive") return 1;
    return {};
}

/// The numbers of one value of the type; 0 for types of which that is not known.
std::int64_t NumbersOfType(std::string_view name, std::string_view type) {
    static constexpr std::pair<std::string_view, std::int64_t> kTypes[] = {
        {"float", 1},  {"int", 1},    {"string", 1},  {"vector2", 2}, {"point2", 2}, {"vector3", 3},
        {"point3", 3}, {"color3", 3}, {"normal3", 3}, {"vector4", 4}, {"color4", 4}};
    for (const auto& [known, numbers] : kTypes)
        if (known == type) return numbers;
    return name.substr(0, 2) == "st" ? 2 : 0;
}

/// Whether an attribute holds so many values. A tuple size above 1 tells the size of a value;
/// otherwise its type does. Values of unknown size fit if they can be shared out evenly.
bool HoldsValues(const ValueCount& count, std::int64_t numbersOfType, std::int64_t elements) {
    const std::int64_t each = count.tupleSize > 1 ? count.tupleSize : numbersOfType;
    if (each > 0) return count.values == each * elements;
    return elements == 0 ? count.values == 0 : count.values % elements == 0 && count.values > 0;
}

std::string ValuesProblem(const ValueCount& count, std::int64_t elements) {
    return "it holds " + Counted(count.values, "number") + " for " + Counted(elements, "element");
}

/// Checks values that "index" chooses for each element.
void CheckIndexed(const std::string& attribute, const GroupAttribute& set,
                  const std::optional<ValueCount>& count, std::int64_t each, std::int64_t elements,
                  Drafts& drafts) {
    const Integers index = IntegersOf(ChildOf(set, "index"));
    if (!count || !index.isSound)
        return drafts.add(Rule::ArbitraryCount, attribute,
                          count ? "its index does not hold integers" : "it has no values");
    if (static_cast<std::int64_t>(index.values.size()) != elements)
        return drafts.add(Rule::ArbitraryCount, attribute + ".index",
                          "it holds " +
                              Counted(static_cast<std::int64_t>(index.values.size()), "number") +
                              " for " + Counted(elements, "element"));
    const std::int64_t size =
        count->tupleSize > 1 ? count->tupleSize : std::max<std::int64_t>(each, 1);
    const std::int64_t values = count->values / size;
    for (const std::int32_t one : index.values)
        if (one < 0 || one >= values)
            return drafts.add(Rule::ArbitraryCount, attribute + ".index",
                              "it holds the index " + std::to_string(one) + ", and " +
                                  ThereAre(values, "value"));
}

void CheckSet(std::string_view name, const GroupAttribute& set, const ShapeElements& shape,
              Drafts& drafts) {
    const std::string attribute = "geometry.arbitrary." + std::string(name);
    const Attribute scopeText = ChildOf(set, "scope");
    const std::string_view scope = scopeText.isValid() ? TextOf(scopeText) : "point";
    const std::optional<std::int64_t> elements = CountElements(scope, shape);
    if (!elements)
        return drafts.add(Rule::ArbitraryCount, attribute + ".scope",
                          "it is " + Quoted(scope) + " and not point, vertex, face or primitive");
    for (const char* part : {"value", "indexedValue"})
        if (!AreFinite(ChildOf(set, part)))
            drafts.add(Rule::ShapeFinite, attribute + '.' + part,
                       "it holds numbers that are not finite");
    const std::int64_t each = NumbersOfType(name, TextOf(ChildOf(set, "inputType")));
    const std::optional<ValueCount> values = CountValues(ChildOf(set, "value"));
    if (values && HoldsValues(*values, each, *elements)) return;
    const std::optional<ValueCount> indexed =
        values ? values : CountValues(ChildOf(set, "indexedValue"));
    if (!values || ChildOf(set, "index").isValid())
        CheckIndexed(attribute, set, indexed, each, *elements, drafts);
    else
        drafts.add(Rule::ArbitraryCount, attribute + ".value", ValuesProblem(*values, *elements));
}

} // namespace

void CheckArbitrary(const GroupAttribute& geometry, const ShapeElements& elements, Drafts& drafts) {
    const GroupAttribute arbitrary(ChildOf(geometry, "arbitrary"));
    for (std::int64_t i = 0; i < arbitrary.getNumberOfChildren(); ++i) {
        const GroupAttribute set(arbitrary.getChildByIndex(i));
        if (set.isValid()) CheckSet(arbitrary.getChildNameView(i), set, elements, drafts);
    }
}

} // namespace TELLAR
