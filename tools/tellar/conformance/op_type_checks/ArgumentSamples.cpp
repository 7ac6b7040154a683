#include "ArgumentSamples.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string_view>

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;

constexpr const char* kPaths[] = {"/root/world/geo/square", "/root/world/geo", "/root/world/cam",
                                  "/root/world/copies", "/root/materials/red"};
constexpr const char* kPatterns[] = {"/root/world/geo/*", "/root/world/**", "/root/world/geo/ball"};

template <typename T, std::size_t N>
const T& OneOf(const T (&values)[N], std::mt19937& random) {
    return values[random() % N];
}

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

std::string LowerCase(std::string text) {
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

/// "double" and 16 of "double[16]"; the number is 0 for a list of any length, "string[]", and 3 for
/// a list of tuples, "double[3][]", of which one is drawn.
struct ArgumentType {
    std::string name;
    std::size_t count = 1;
};

ArgumentType TypeOf(const OxOpType::Argument& argument) {
    const std::size_t bracket = argument.type.find('[');
    ArgumentType type{argument.type.substr(0, bracket), 1};
    if (bracket == std::string::npos) return type;
    type.count = 0;
    for (const char digit : argument.type.substr(bracket + 1))
        if (digit >= '0' && digit <= '9' && type.count < 1000)
            type.count = 10 * type.count + static_cast<std::size_t>(digit - '0');
    return type;
}

/// The words in double quotes in a summary, without paths.
std::vector<std::string> QuotedWords(const std::string& summary) {
    std::vector<std::string> words;
    for (std::size_t open = summary.find('"'); open != std::string::npos;) {
        const std::size_t close = summary.find('"', open + 1);
        if (close == std::string::npos) break;
        const std::string word = summary.substr(open + 1, close - open - 1);
        if (!word.empty() && word[0] != '/') words.push_back(word);
        open = summary.find('"', close + 1);
    }
    return words;
}

/// Whether a summary tells what 1 does.
bool IsSwitch(const std::string& summary) {
    return summary.rfind("1 ", 0) == 0 || Contains(summary, ": 1 ") || Contains(summary, ". 1 ");
}

std::string SensibleText(const OxOpType::Argument& argument, const std::string& file,
                         std::mt19937& random) {
    const std::string words = LowerCase(argument.name + ' ' + argument.summary);
    if (Contains(words, "glob") || Contains(words, "pattern")) return OneOf(kPatterns, random);
    if (Contains(LowerCase(argument.name), "file")) return file;
    const std::vector<std::string> choices = QuotedWords(argument.summary);
    if (!choices.empty()) return choices[random() % choices.size()];
    if (Contains(words, "location") || Contains(words, "path")) return OneOf(kPaths, random);
    return random() % 2 ? "text" : "name";
}

template <typename T>
std::vector<T> Numbers(std::size_t count, std::mt19937& random) {
    std::vector<T> values(count == 0 ? 2 : count);
    for (T& value : values)
        value = static_cast<T>(random() % 4) + (random() % 3 == 0 ? T(1) / T(2) : T(0));
    return values;
}

/// A matrix that moves, or numbers of which those at odd places are larger: ranges are not empty.
std::vector<double> Doubles(std::size_t count, std::mt19937& random) {
    std::vector<double> values = Numbers<double>(count, random);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (count == 16) values[i] = i % 5 == 0 ? 1 : i == 12 ? 2 : 0;
        if (count == 6 && i % 2 == 1) values[i] = values[i - 1] + 1;
    }
    return values;
}

Attribute SensibleGroup(std::mt19937& random) {
    GroupBuilder group;
    group.set("n", IntAttribute(static_cast<std::int32_t>(random() % 3)));
    group.set("user.label", StringAttribute(random() % 2 ? "one" : "two"));
    return group.build();
}

template <typename T>
void AddNumbers(const std::string& type, std::vector<ArgumentSample>& samples) {
    using Limits = std::numeric_limits<T>;
    using Values = NumericAttribute<T>;
    samples.push_back({type + " 0", Values(T(0))});
    samples.push_back({type + " -1", Values(T(-1))});
    samples.push_back({"the largest " + type, Values(Limits::max())});
    samples.push_back({"the lowest " + type, Values(Limits::lowest())});
    samples.push_back({"no " + type, Values(std::vector<T>{}, 1)});
    samples.push_back({type + "[2]", Values({T(1), T(2)}, 2)});
    samples.push_back({type + "[3]", Values({T(1), T(2), T(3)}, 3)});
    samples.push_back({type + "[17]", Values(std::vector<T>(17, T(1)), 17)});
    samples.push_back({"5 of " + type + "[3]", Values(std::vector<T>(5, T(1)), 3)});
    samples.push_back(
        {type + " at two times",
         Values(std::map<float, std::vector<T>>{{-1.0f, {T(1)}}, {2.0f, {T(2)}}}, 1)});
    if (!Limits::has_quiet_NaN) return;
    samples.push_back({type + " NaN", Values(Limits::quiet_NaN())});
    samples.push_back({type + " infinity", Values(Limits::infinity())});
    samples.push_back({type + "[3] of NaN", Values(std::vector<T>(3, Limits::quiet_NaN()), 3)});
    samples.push_back(
        {type + "[4] of infinities", Values(std::vector<T>(4, Limits::infinity()), 4)});
    samples.push_back({type + "[6] of NaN", Values(std::vector<T>(6, Limits::quiet_NaN()), 6)});
    samples.push_back(
        {type + "[16] of huge values", Values(std::vector<T>(16, Limits::max()), 16)});
}

void AddTexts(std::vector<ArgumentSample>& samples) {
    using namespace std::string_view_literals;
    samples.push_back({"an empty string", StringAttribute(""sv)});
    samples.push_back({"a relative path", StringAttribute("root/world")});
    samples.push_back({"the path \"/\"", StringAttribute("/")});
    samples.push_back({"a path with an empty level", StringAttribute("/root//world/")});
    samples.push_back({"an open set of a pattern", StringAttribute("/root/[a")});
    samples.push_back({"a string that is not UTF-8", StringAttribute("/root/\xff\xfe\x80"sv)});
    samples.push_back({"a string with a NUL byte", StringAttribute("/root/a\0b"sv)});
    samples.push_back({"format letters", StringAttribute("%s%n%d{}")});
    samples.push_back(
        {"a string of 100000 letters", StringAttribute("/root/" + std::string(100000, 'x'))});
    std::string deep;
    for (int level = 0; level < 2000; ++level)
        deep += "/a";
    samples.push_back({"a path of 2000 levels", StringAttribute("/root" + deep)});
    samples.push_back({"no string", StringAttribute(std::vector<std::string>{}, 1)});
    samples.push_back({"two strings", StringAttribute({"/root/world"sv, ""sv}, 1)});
    samples.push_back(
        {"10000 strings", StringAttribute(std::vector<std::string>(10000, "/root"), 1)});
    samples.push_back({"strings at two times", StringAttribute(
                                                   std::map<float, std::vector<std::string>>{
                                                       {0.0f, {"/root"}}, {1.0f, {"/root/world"}}},
                                                   1)});
}

void AddGroups(std::vector<ArgumentSample>& samples) {
    samples.push_back({"an empty group", GroupAttribute(true)});
    samples.push_back({"a group of odd names", GroupAttribute({{"", IntAttribute(1)},
                                                               {"a.b", IntAttribute(2)},
                                                               {"\xff/", StringAttribute("")}},
                                                              false)});
    GroupAttribute deep({{"a", IntAttribute(1)}}, true);
    for (int level = 0; level < 1000; ++level)
        deep = GroupAttribute({{"c", deep}}, true);
    samples.push_back({"1000 nested groups", deep});
}

} // namespace

std::vector<ArgumentSample> WrongValues() {
    std::vector<ArgumentSample> samples{{"null", NullAttribute()}};
    AddNumbers<std::int32_t>("int", samples);
    AddNumbers<float>("float", samples);
    AddNumbers<double>("double", samples);
    AddTexts(samples);
    AddGroups(samples);
    return samples;
}

Attribute SensibleValue(const OxOpType::Argument& argument, const std::string& file,
                        std::mt19937& random) {
    const ArgumentType type = TypeOf(argument);
    if (type.name == "string")
        return StringAttribute(std::vector<std::string>(type.count == 0 ? 1 : type.count,
                                                        SensibleText(argument, file, random)),
                               1);
    const auto tuple = static_cast<std::int64_t>(type.count == 0 ? 1 : type.count);
    if (type.name == "int") {
        std::vector<std::int32_t> values = Numbers<std::int32_t>(type.count, random);
        for (std::int32_t& value : values)
            value = IsSwitch(argument.summary) ? value % 2 : value + 1;
        return IntAttribute(values, tuple);
    }
    if (type.name == "float") return FloatAttribute(Numbers<float>(type.count, random), tuple);
    if (type.name == "double") return DoubleAttribute(Doubles(type.count, random), tuple);
    return type.name == "group" ? SensibleGroup(random) : Attribute();
}

GroupAttribute SensibleArguments(const OxOpType::Description& description, const std::string& file,
                                 std::mt19937& random) {
    GroupBuilder args;
    for (const OxOpType::Argument& argument : description.arguments)
        if (Contains(LowerCase(argument.summary), "required") || random() % 3 == 0)
            args.set(argument.name, SensibleValue(argument, file, random));
    return args.build();
}

GroupAttribute WithArgument(const GroupAttribute& args, const std::string& name,
                            const Attribute& value) {
    GroupBuilder changed;
    changed.update(args);
    if (value.isValid())
        changed.set(name, value);
    else
        changed.del(name);
    return changed.build();
}

} // namespace TellarTool
