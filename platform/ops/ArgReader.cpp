#include "ArgReader.h"

#include <algorithm>
#include <stdexcept>

#include <OxTellarSDK/TellarError.h>

#include "text/SimilarNames.h"

namespace TellarOps {
namespace {

using namespace OxAttribute;
using OxOpType::Argument;
using OxOpType::Description;

const Argument* FindArgument(const Description& description, std::string_view name) {
    for (const Argument& argument : description.arguments)
        if (argument.name == name) return &argument;
    return nullptr;
}

template <typename T>
DoubleAttribute AsDoubles(const NumericAttribute<T>& numbers) {
    const std::int64_t timeCount = numbers.getNumberOfTimeSamples();
    std::vector<float> times;
    std::vector<double> values;
    for (std::int64_t index = 0; index < timeCount; ++index) {
        times.push_back(numbers.getSampleTime(index));
        const ConstSample<T> sample = numbers.getNearestSample(times.back());
        values.insert(values.end(), sample.begin(), sample.end());
    }
    return DoubleAttribute(times.data(), timeCount, values.data(), numbers.getNumberOfValues(),
                           numbers.getTupleSize());
}

/// Invalid when the attribute holds no numbers.
DataAttribute AsNumbers(const Attribute& attribute, NumberForm form) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return AsDoubles(IntAttribute(attribute));
    case kAttributeTypeDouble:
        return DoubleAttribute(attribute);
    case kAttributeTypeFloat:
        if (form == NumberForm::AsGiven) return FloatAttribute(attribute);
        return AsDoubles(FloatAttribute(attribute));
    default:
        return DataAttribute();
    }
}

bool IsLocationPath(std::string_view path) {
    return path.size() > 1 && path[0] == '/' && path.back() != '/' &&
           path.find("//") == std::string_view::npos;
}

std::vector<std::string> Copy(const ConstStringSample& sample) {
    std::vector<std::string> copy;
    copy.reserve(sample.size());
    for (const std::string_view text : sample)
        copy.emplace_back(text);
    return copy;
}

} // namespace

void ThrowArgumentError(std::string_view name, const std::string& complaint) {
    throw TellarError::OfAttribute(std::string(name),
                                   "Argument \"" + std::string(name) + "\" " + complaint + ".");
}

namespace {

[[noreturn]] void ThrowUnknownArgument(const Description& description, const std::string& name) {
    std::vector<std::string> names;
    for (const Argument& argument : description.arguments)
        names.push_back(argument.name);
    const std::string complaint = "is not known to the op type \"" + description.name + '"';
    const std::string hint = TellarInternal::DidYouMean(names, name);
    if (hint.empty()) ThrowArgumentError(name, complaint);
    throw TellarError::OfAttribute(name, "Argument \"" + name + "\" " + complaint + hint);
}

} // namespace

ArgReader::ArgReader(const Description& description, const GroupAttribute& args)
    : description(description), args(args) {
    for (std::int64_t index = 0; index < args.getNumberOfChildren(); ++index) {
        const std::string_view name = args.getChildNameView(index);
        if (!FindArgument(description, name)) ThrowUnknownArgument(description, std::string(name));
    }
}

std::string ArgReader::requiredString(std::string_view name) const {
    const StringAttribute text(require(name));
    check(text.getNumberOfValues() == 1, name);
    return text.getValue();
}

std::string ArgReader::string(std::string_view name, const std::string& absent) const {
    return find(name).isValid() ? requiredString(name) : absent;
}

std::string ArgReader::choice(std::string_view name,
                              const std::vector<std::string>& choices) const {
    std::string text = string(name, choices.front());
    if (std::find(choices.begin(), choices.end(), text) != choices.end()) return text;
    std::string list;
    for (const std::string& one : choices)
        list += (list.empty() ? "\"" : " or \"") + one + "\"";
    ThrowArgumentError(name, "must be " + list + ", not \"" + text + "\"");
}

std::vector<std::string> ArgReader::strings(std::string_view name) const {
    const Attribute attribute = find(name);
    if (!attribute.isValid()) return {};
    const StringAttribute texts(attribute);
    check(texts.isValid(), name);
    return Copy(texts.getNearestSample(0.0f));
}

std::vector<std::string> ArgReader::globs(std::string_view name) const {
    require(name);
    std::vector<std::string> globs = strings(name);
    try {
        OxLocationPath::Patterns{globs};
    } catch (const std::runtime_error& error) {
        throw TellarError::OfAttribute(std::string(name),
                                       "Argument \"" + std::string(name) + "\": " + error.what());
    }
    return globs;
}

std::string ArgReader::location(std::string_view name, const std::string& absent) const {
    std::string path = absent.empty() ? requiredString(name) : string(name, absent);
    if (!IsLocationPath(path))
        ThrowArgumentError(name, "must be an absolute location path, not \"" + path + "\"");
    return path;
}

StringAttribute ArgReader::locations(std::string_view name) const {
    StringAttribute paths(require(name));
    check(paths.isValid(), name);
    for (const std::string_view path : paths.getNearestSample(0.0f))
        if (!IsLocationPath(path))
            ThrowArgumentError(name,
                               "must be absolute location paths, not \"" + std::string(path) + '"');
    return paths;
}

std::int32_t ArgReader::integer(std::string_view name, std::int32_t absent, std::int32_t least,
                                std::int32_t most) const {
    if (!find(name).isValid()) return absent;
    const std::int32_t value = integers(name, 1).getValue();
    if (value < least || value > most)
        ThrowArgumentError(name, "must be from " + std::to_string(least) + " to " +
                                     std::to_string(most) + ", not " + std::to_string(value));
    return value;
}

std::vector<std::int32_t> ArgReader::requiredIntegers(std::string_view name, std::int64_t count,
                                                      std::int32_t least) const {
    const ConstSample<std::int32_t> sample = integers(name, count).getNearestSample(0.0f);
    for (const std::int32_t value : sample)
        if (value < least)
            ThrowArgumentError(name, "must not be below " + std::to_string(least) + ", but holds " +
                                         std::to_string(value));
    return {sample.begin(), sample.end()};
}

IntAttribute ArgReader::indices(std::string_view name, std::uint64_t end,
                                const char* things) const {
    const Attribute attribute = find(name);
    IntAttribute indices(attribute);
    check(indices.isValid() || !attribute.isValid(), name);
    for (const std::int32_t index : indices.getNearestSample(0.0f))
        if (index < 0 || static_cast<std::uint64_t>(index) >= end)
            ThrowArgumentError(name, "holds " + std::to_string(index) + ", but there are " +
                                         std::to_string(end) + ' ' + things);
    return indices;
}

bool ArgReader::flag(std::string_view name, bool absent) const {
    return integer(name, absent ? 1 : 0, 0, 1) == 1;
}

DataAttribute ArgReader::numbers(std::string_view name, std::int64_t count, NumberForm form) const {
    const Attribute attribute = find(name);
    if (!attribute.isValid()) return DataAttribute();
    DataAttribute numbers = AsNumbers(attribute, form);
    check(numbers.isValid() && numbers.getNumberOfValues() == count, name);
    return numbers;
}

DataAttribute ArgReader::tuples(std::string_view name, std::int64_t tupleSize) const {
    const Attribute attribute = find(name);
    if (!attribute.isValid()) return DataAttribute();
    DataAttribute numbers = AsNumbers(attribute, NumberForm::AsGiven);
    check(numbers.isValid() && numbers.getNumberOfValues() % tupleSize == 0, name);
    return numbers;
}

std::vector<double> ArgReader::doubles(std::string_view name, std::int64_t count,
                                       const std::vector<double>& absent) const {
    if (absent.empty()) require(name);
    const DoubleAttribute values = numbers(name, count, NumberForm::Double);
    if (!values.isValid()) return absent;
    const ConstSample<double> sample = values.getNearestSample(0.0f);
    return {sample.begin(), sample.end()};
}

GroupAttribute ArgReader::group(std::string_view name) const {
    return find(name).isValid() ? requiredGroup(name) : GroupAttribute();
}

GroupAttribute ArgReader::requiredGroup(std::string_view name) const {
    GroupAttribute group(require(name));
    check(group.isValid(), name);
    return group;
}

Attribute ArgReader::find(std::string_view name) const {
    return args.getChildByIndex(args.findChild(name));
}

Attribute ArgReader::require(std::string_view name) const {
    Attribute attribute = find(name);
    if (!attribute.isValid())
        ThrowArgumentError(name, "is missing; it must be " + FindArgument(description, name)->type);
    return attribute;
}

IntAttribute ArgReader::integers(std::string_view name, std::int64_t count) const {
    IntAttribute integers(require(name));
    check(integers.isValid() && integers.getNumberOfValues() == count, name);
    return integers;
}

void ArgReader::check(bool isRight, std::string_view name) const {
    if (!isRight) ThrowArgumentError(name, "must be " + FindArgument(description, name)->type);
}

} // namespace TellarOps
