// Checks with arguments, inputs and paths for which an op type was not made.
#include "OpTypeChecks.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/LocationPath.h>

#include "ArgumentSamples.h"
#include "OpTypeUnderTest.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

// The text of the host for an op type in C that fails without an error.
constexpr const char* kNoError = "it failed without an error";
constexpr std::size_t kMostPaths = 12;
constexpr std::size_t kMostPathsOfArguments =
    4; // most types refuse arguments before the first cook
constexpr std::size_t kMostCasesOfArguments = 2;
constexpr std::size_t kMostParents = 40;
constexpr std::size_t kLongestPath = 100; // in findings

/// An error has to be one that its reader can use.
void ExpectUsableError(const std::string& place, const OpCase& made, const Answer& answer,
                       FirstFaults& faults) {
    if (!answer.isError()) return;
    if (answer.reason.empty() || answer.reason == kNoError)
        faults.add(place + ": the error has no text: " + answer.error);
    else if (answer.failedOp.empty() && answer.error.find(made.op().name) == std::string::npos)
        faults.add(place + ": the error does not name the op: " + answer.error);
}

/// How findings name a location. Long paths are cut.
std::string PlaceOf(const std::string& what, const std::string& path) {
    return what + ", " + path.substr(0, kLongestPath);
}

/// A location that exists has a parent that exists, or that cannot be cooked.
void ExpectParent(const std::string& place, const std::string& path, TellarRuntime::Client& client,
                  FirstFaults& faults) {
    const std::string parent(OxLocationPath::Parent(path));
    if (parent.empty()) return;
    const Answer answer = Cook(client, parent);
    if (!answer.isError() && !answer.exists)
        faults.add(place + ": exists, and its parent does not");
}

/// Cooks some locations of a graph. There may be errors.
void CookSome(const std::string& what, const OpCase& made, const std::vector<std::string>& paths,
              FirstFaults& faults) {
    faults.step(what);
    const auto client = made.open()->getClient();
    for (const std::string& path : paths) {
        const Answer answer = Cook(*client, path);
        const std::string place = PlaceOf(what, path);
        ExpectUsableError(place, made, answer, faults);
        if (answer.exists) ExpectParent(place, path, *client, faults);
    }
}

std::vector<std::string> PathsOfCase(const OpCase& made, std::size_t most) {
    return PathsOf(*made.open()->getClient(), most);
}

/// The case with `count` inputs, all like its first one or missing.
OpCase WithInputs(const OpCase& original, std::size_t count, bool areMissing) {
    OpCase made = original;
    const std::string input =
        areMissing || original.op().inputs.empty() ? "" : original.op().inputs.front();
    made.op().inputs.assign(count, input);
    return made;
}

OpCase WithArgs(const OpCase& original, const GroupAttribute& args) {
    OpCase made = original;
    made.op().args = args;
    return made;
}

/// For types without usable cases.
std::vector<OpCase> OrEmptyCase(std::vector<OpCase> cases, const Subject& subject,
                                const OxOpType::Description& description) {
    if (cases.empty())
        cases.push_back(SmallCase("no arguments", subject.name, GroupAttribute(),
                                  TakesInputs(description) ? 1 : 0));
    return cases;
}

// Paths -------------------------------------------------------------------------------------------

/// Names that hardly any scene has.
std::set<std::string> OddNames() {
    return {"no such location",     ".",    "..", "a.b", "\xff\xfe", "copy_-1",
            "99999999999999999999", "%s%n", "*",  "[a",  "\n",       "x\"y'z\\",
            std::string(50000, 'l')};
}

/// Names much like that of a child: "copy_07", "copy_7x" and "Copy_7" for "copy_7".
std::vector<std::string> SimilarNames(const std::string& name) {
    if (name.empty()) return {};
    const std::size_t digits = name.find_last_not_of("0123456789") + 1; // where they begin
    std::string capital = name;
    capital[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(capital[0])));
    std::string withZero = name;
    return {name + "x",  "x" + name,
            name + ' ',  capital,
            name + ".x", withZero.insert(digits, "0"),
            name + "9",  name.substr(0, digits)};
}

/// Odd names, and some much like those of the first and the last child.
std::set<std::string> NamesToTry(const std::vector<std::string>& children) {
    std::set<std::string> names = OddNames();
    if (children.empty()) return names;
    for (const std::string& child : {children.front(), children.back()})
        for (const std::string& name : SimilarNames(std::string(OxLocationPath::Name(child))))
            names.insert(name);
    return names;
}

std::string DeepPath() {
    std::string path = "/root";
    for (int level = 0; level < 3000; ++level)
        path += "/d";
    return path;
}

void ExpectNoLocation(const std::string& path, const OpCase& made, const Answer& answer,
                      FirstFaults& faults) {
    const std::string place = PlaceOf(made.name, path);
    ExpectUsableError(place, made, answer, faults);
    if (answer.exists)
        faults.add(place + ": exists, and is not among the potential children of its parent");
}

void CookOddPaths(const OpCase& made, FirstFaults& faults) {
    faults.step(made.name);
    const auto client = made.open()->getClient();
    std::vector<std::string> parents = PathsOf(*client, kMostParents);
    parents.push_back(parents.back() + "/below a leaf");
    for (const std::string& parent : parents) {
        const auto children = ChildrenOf(*client, parent, SIZE_MAX);
        for (const std::string& name : NamesToTry(children)) {
            std::string path = parent;
            path.append("/").append(name);
            if (std::find(children.begin(), children.end(), path) == children.end())
                ExpectNoLocation(path, made, Cook(*client, path), faults);
        }
    }
    for (const std::string& path : {std::string("/no root"), std::string("/rootless/world")})
        ExpectNoLocation(path, made, Cook(*client, path), faults);
    for (const std::string& path :
         {std::string("/"), std::string("/root/"), std::string("/root//world"), DeepPath()})
        ExpectUsableError(PlaceOf(made.name, path), made, Cook(*client, path), faults);
}

/// Each location as the first one that a scene is asked for.
void CookEachFirst(const OpCase& made, FirstFaults& faults) {
    const Answers expected = [&made] {
        const auto client = made.open()->getClient();
        return CookAll(*client, PathsOf(*client, 100));
    }();
    for (const auto& [path, answer] : expected) {
        const Answer first = Cook(*made.open()->getClient(), path);
        if (first != answer)
            faults.add(PlaceOf(made.name, path) + ": " + answer.text() +
                       " when its parents are cooked before it, otherwise " + first.text());
    }
}

} // namespace

void CheckMissingArguments(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const description = DescriptionOf(subject, verdict);
    if (!description) return;
    FirstFaults faults(verdict);
    for (const OpCase& made : OrEmptyCase(UsableCases(subject, verdict), subject, *description)) {
        const std::vector<std::string> paths = PathsOfCase(made, kMostPaths);
        const std::vector<std::pair<const char*, OpCase>> variants = {
            {"no arguments", WithArgs(made, {})},
            {"no arguments and inputs", WithInputs(WithArgs(made, {}), 0, true)},
            {"empty arguments", WithArgs(made, GroupAttribute(true))},
            {"no inputs", WithInputs(made, 0, true)},
            {"a missing input", WithInputs(made, 1, true)},
            {"two missing inputs", WithInputs(made, 2, true)},
            {"eight inputs", WithInputs(made, 8, false)},
        };
        for (const auto& [what, variant] : variants)
            CookSome(made.name + " with " + what, variant, paths, faults);
    }
}

void CheckWrongArguments(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const description = DescriptionOf(subject, verdict);
    if (!description) return;
    const std::vector<ArgumentSample> values = WrongValues();
    std::vector<std::string> names{"no such argument", "", "a.b.c"};
    for (const OxOpType::Argument& argument : description->arguments)
        names.push_back(argument.name);
    std::vector<OpCase> cases = OrEmptyCase(UsableCases(subject, verdict), subject, *description);
    if (cases.size() > kMostCasesOfArguments) cases.resize(kMostCasesOfArguments);
    FirstFaults faults(verdict);
    for (const OpCase& made : cases) {
        const std::vector<std::string> paths = PathsOfCase(made, kMostPathsOfArguments);
        for (const std::string& name : names)
            for (const ArgumentSample& sample : values)
                CookSome(made.name + " with " + sample.text + " as \"" + name + '"',
                         WithArgs(made, WithArgument(made.op().args, name, sample.value)), paths,
                         faults);
    }
}

void CheckOddPaths(const Subject& subject, Verdict& verdict) {
    FirstFaults faults(verdict);
    for (const OpCase& made : UsableCases(subject, verdict)) {
        CookOddPaths(made, faults);
        CookEachFirst(made, faults);
    }
}

} // namespace TellarTool
