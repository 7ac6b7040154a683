#ifndef OXTELLARSDK_TESTS_SAMPLEVALUE_H
#define OXTELLARSDK_TESTS_SAMPLEVALUE_H

#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

/// A small value that contains every kind of value of an attribute file.
inline OxAttribute::GroupAttribute SampleValue() {
    using namespace OxAttribute;
    const float unevenTimes[] = {-0.25f, 0.0f, 0.5f};
    const std::int32_t numbers[] = {1, 2, 3, 4, 5, 6};
    std::vector<GroupAttribute::Child> many;
    for (int i = 0; i < 10; ++i)
        many.emplace_back("child" + std::to_string(i), IntAttribute(i % 3));
    const GroupAttribute inner({{"none", NullAttribute()},
                                {"empty", GroupAttribute(false)},
                                {"noNumbers", FloatAttribute({}, 3)},
                                {"noStrings", StringAttribute(nullptr, 0, 1)}},
                               false);
    return GroupAttribute(
        {{"int", IntAttribute({-1, std::numeric_limits<std::int32_t>::min(), 7}, 1)},
         {"float", FloatAttribute({0.5f, -0.0f, 1e30f, 3.25f}, 2)},
         {"double", DoubleAttribute(-2.5)},
         {"string", StringAttribute({"one", "", std::string_view("a\0b", 3)}, 1)},
         {"samples", IntAttribute(unevenTimes, 3, numbers, 2, 1)},
         {"texts", StringAttribute({{1.0f, {"x"}}, {2.0f, {"longer"}}}, 1)},
         {"a.dot", inner},
         {"many", GroupAttribute(many, true)}},
        true);
}

/// A small op tree, as an op file holds it.
/// Groups that are alike but for their values.
inline OxAttribute::GroupAttribute AlikeValue() {
    using namespace OxAttribute;
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < 5; ++i) {
        const GroupAttribute user({{"text", StringAttribute("t" + std::to_string(i))},
                                   {"matrix", DoubleAttribute({0.5 * i, 1, 2}, 1)}},
                                  false);
        const IntAttribute moving(std::map<float, std::vector<int>>{{0.0f, {i}}, {1.0f, {-i}}}, 1);
        children.emplace_back(
            "child" + std::to_string(i),
            GroupAttribute({{"type", StringAttribute("mesh")}, {"user", user}, {"moving", moving}},
                           true));
    }
    return GroupAttribute(children, true);
}

inline OxAttribute::GroupAttribute SampleOpTree() {
    using namespace OxAttribute;
    const GroupAttribute args(
        {{"path", StringAttribute("/root/world")}, {"count", IntAttribute(3)}}, true);
    return GroupAttribute(
        {{"first", GroupAttribute({{"opType", StringAttribute("Source")}, {"opArgs", args}}, true)},
         {"last", GroupAttribute({{"opType", StringAttribute("Filter")},
                                  {"opArgs", GroupAttribute(true)},
                                  {"opInputs", StringAttribute({"first", ""}, 1)}},
                                 true)}},
        true);
}

#endif
