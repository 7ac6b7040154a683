// A custom mutator for op-tree descriptions. It changes their attributes, because a change of bytes
// hardly ever gives another valid description.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

#include "DescriptionText.h"

using namespace OxAttribute;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Children = std::vector<GroupAttribute::Child>;

Children ChildrenOf(const GroupAttribute& group) {
    Children children;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        children.emplace_back(group.getChildName(i), group.getChildByIndex(i));
    return children;
}

class DescriptionMutator {
public:
    /// Some mutations copy parts of `donor`.
    DescriptionMutator(unsigned seed, const GroupAttribute& donor) : random(seed) {
        collect(donor);
    }

    GroupAttribute changed(const GroupAttribute& description) {
        Children ops = ChildrenOf(description);
        switch (below(ops.empty() ? 1 : 7)) {
        case 0:
            ops.insert(ops.begin() + static_cast<std::ptrdiff_t>(below(ops.size() + 1)),
                       newOp(ops));
            break;
        case 1:
            std::swap(any(ops).second, any(ops).second);
            break;
        case 2:
            ops.erase(ops.begin() + static_cast<std::ptrdiff_t>(below(ops.size())));
            break;
        case 3:
        case 4:
            setArgument(any(ops).second);
            break;
        case 5:
            setChild(any(ops).second, "opInputs", inputs(ops));
            break;
        default:
            return changedPart(description);
        }
        return {ops, description.getGroupInherit()};
    }

private:
    std::uint64_t below(std::uint64_t limit) { return random() % limit; }
    template <typename List>
    auto any(List& list) -> decltype(list[0]) {
        return list[below(list.size())];
    }

    void collect(const Attribute& value) {
        parts.push_back(value);
        for (const std::string_view text : StringAttribute(value).getNearestSample(0.0f))
            texts.emplace_back(text);
        for (const auto& [name, child] : ChildrenOf(value)) {
            texts.push_back(name);
            collect(child);
        }
    }

    std::string text() {
        static const char* const kTexts[] = {
            "",         "/root",          "/root/world",  "/root/**",
            "/**",      "/*/[a-z]*?*/**", "a.b",          "/root/world/cam/camera",
            "scatter",  "before",         "orthographic", "camera",
            "material", "instance0",      "..",           "\xc3\x28"};
        if (texts.empty() || below(3) == 0) return kTexts[below(std::size(kTexts))];
        std::string chosen = any(texts);
        if (below(6) == 0) chosen += "/" + any(texts);
        if (below(12) == 0) chosen += static_cast<char>(below(256));
        return chosen;
    }

    template <typename Number>
    Number number() {
        using Limits = std::numeric_limits<Number>;
        static const Number kNumbers[] = {0,
                                          1,
                                          2,
                                          3,
                                          90,
                                          1000,
                                          Number(-1),
                                          Limits::max(),
                                          Limits::lowest(),
                                          Limits::min(),
                                          Limits::infinity(),
                                          Limits::quiet_NaN()};
        return kNumbers[below(std::size(kNumbers))];
    }

    /// An attribute of one sample, or of a few at unusual times.
    template <typename Value, typename Make>
    std::map<float, std::vector<Value>> samples(std::uint64_t count, Make make) {
        std::map<float, std::vector<Value>> made;
        const std::uint64_t times = below(4) == 0 ? 1 + below(3) : 1;
        for (std::uint64_t i = 0; i < times; ++i) {
            auto& sample = made[times == 1 ? 0.0f : static_cast<float>(below(7)) / 2 - 1];
            sample.clear();
            for (std::uint64_t k = 0; k < count; ++k)
                sample.push_back(make());
        }
        return made;
    }

    template <typename Number>
    Attribute numbers(std::uint64_t count) {
        const auto tuple = static_cast<std::int64_t>(below(4) == 0 ? 1 + below(16) : 1);
        return NumericAttribute<Number>(samples<Number>(count, [&] { return number<Number>(); }),
                                        tuple);
    }

    Attribute strings(std::uint64_t count) {
        return StringAttribute(samples<std::string>(count, [&] { return text(); }), 1);
    }

    Attribute anyValue() {
        static const std::uint64_t kCounts[] = {0, 1, 1, 2, 3, 4, 6, 16, 17};
        const std::uint64_t count = kCounts[below(std::size(kCounts))];
        switch (below(6)) {
        case 0:
            return numbers<std::int32_t>(count);
        case 1:
            return numbers<float>(count);
        case 2:
            return numbers<double>(count);
        case 3:
            return strings(count);
        case 4:
            return GroupAttribute(Children{{text(), any(parts)}}, below(2) == 0);
        default:
            return any(parts);
        }
    }

    /// A value of the type that an op type declares for an argument, such as "double[3]".
    Attribute valueOfType(const std::string& type) {
        const std::size_t bracket = type.find('[');
        const std::string one = type.substr(0, bracket);
        const bool isList = bracket != std::string::npos && type[bracket + 1] != ']';
        const std::uint64_t count = isList ? std::stoul(type.substr(bracket + 1))
                                    : bracket != std::string::npos ? below(4)
                                                                   : 1;
        if (one == "double") return numbers<double>(count);
        if (one == "int") return numbers<std::int32_t>(count);
        if (one == "string") return strings(count);
        return GroupAttribute(anyValue());
    }

    const OxOpType::Description& anyOpType() {
        static const std::vector<const OxOpType::Description*> types = OxOpType::GetDescriptions();
        return *any(types);
    }

    GroupAttribute::Child newOp(const Children& ops) {
        const OxOpType::Description& type = anyOpType();
        Children args;
        for (const OxOpType::Argument& argument : type.arguments)
            if (below(3) != 0) args.emplace_back(argument.name, valueOfType(argument.type));
        return {"op" + std::to_string(below(8)),
                GroupAttribute({{"opType", StringAttribute(type.name)},
                                {"opArgs", GroupAttribute(args, true)},
                                {"opInputs", inputs(ops)}},
                               true)};
    }

    Attribute inputs(const Children& ops) {
        std::vector<std::string> names(below(3));
        for (std::string& name : names)
            name = ops.empty() || below(8) == 0 ? "none" : ops[below(ops.size())].first;
        return StringAttribute(names, 1);
    }

    void setChild(Attribute& group, const std::string& name, const Attribute& value) {
        Children children = ChildrenOf(group);
        children.emplace_back(name, value);
        group = GroupAttribute(children, true);
    }

    /// Sets an argument that the op type declares, mostly to a value of the right type.
    void setArgument(Attribute& op) {
        const GroupAttribute entry(op);
        const auto* type = OxOpType::FindOpType(
            StringAttribute(entry.getChildByName("opType")).getValue("", false));
        if (!type || type->description().arguments.empty()) return;
        const auto& argument = any(type->description().arguments);
        Attribute args = entry.getChildByName("opArgs");
        setChild(args, argument.name, below(6) == 0 ? anyValue() : valueOfType(argument.type));
        setChild(op, "opArgs", args);
    }

    /// A copy of the attribute with one change.
    Attribute changedPart(const Attribute& value) {
        const GroupAttribute group(value);
        if (!group.isValid()) return anyValue();
        Children children = ChildrenOf(group);
        bool inherit = group.getGroupInherit();
        if (children.empty() || below(4) == 0) {
            children.emplace_back(text(), anyValue());
        } else if (below(8) == 0) {
            children.erase(children.begin() + static_cast<std::ptrdiff_t>(below(children.size())));
        } else if (below(8) == 0) {
            any(children).first = text();
        } else if (below(16) == 0) {
            inherit = !inherit;
        } else {
            Attribute& child = any(children).second;
            child = changedPart(child);
        }
        return GroupAttribute(children, inherit);
    }

    std::minstd_rand random;
    std::vector<Attribute> parts;
    std::vector<std::string> texts;
};

/// Writes the text to `out` and returns its length; 0 if it does not fit.
std::size_t Write(const GroupAttribute& description, std::uint8_t* out, std::size_t maxSize) {
    const std::string text = description.getXML();
    if (text.size() > maxSize) return 0;
    std::memcpy(out, text.data(), text.size());
    return text.size();
}

/// Mutates `data` with the help of `donor`. Returns the new size, or 0 on failure.
std::size_t Change(std::string_view data, std::string_view donor, std::uint8_t* out,
                   std::size_t maxSize, unsigned seed) {
    try {
        const GroupAttribute other = ReadDescriptionText(donor);
        GroupAttribute description = ReadDescriptionText(data);
        if (!description.isValid() || !other.isValid()) return 0;
        DescriptionMutator mutator(seed, other);
        for (unsigned i = 0; i <= seed % 4; ++i)
            description = mutator.changed(description);
        return Write(description, out, maxSize);
    } catch (const std::runtime_error&) {
        return 0; // the group is nested too deeply
    }
}

std::string_view View(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    const std::string before(View(data, size));
    const std::size_t length = seed % 16 == 0 ? 0 : Change(before, before, data, maxSize, seed);
    return length > 0 ? length : LLVMFuzzerMutate(data, size, maxSize);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t maxSize,
                                                 unsigned seed) {
    return Change(View(first, firstSize), View(second, secondSize), out, maxSize, seed);
}
