#include "OpTypeChecks.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/PluginManager.h>

#include "OpTypeUnderTest.h"
#include "Plugins.h"

namespace TellarTool {

namespace {

using OxPluginManager::PluginManager;

/// The reasons for which plug-ins of the subject's library were refused.
std::vector<std::string> ReasonsOfRefusal(const Subject& subject) {
    std::vector<std::string> reasons;
    for (const auto& refused : PluginManager::refused())
        if (refused.file == subject.file) reasons.push_back(refused.reason);
    return reasons;
}

void CheckTable(const OxOpTypePluginSuite_v2& suite, Verdict& verdict) {
    verdict.expect(suite.size == sizeof suite, "its function table says that it has " +
                                                   std::to_string(suite.size) + " bytes, not " +
                                                   std::to_string(sizeof suite));
    verdict.expect(suite.version == OX_OP_TYPE_API_VERSION,
                   "its function table says version " + std::to_string(suite.version) + ", not " +
                       std::to_string(OX_OP_TYPE_API_VERSION));
    verdict.expect(!suite.releaseState || suite.prepare, "releaseState is there without prepare");
}

/// The function tables of the subject's library that are of its API, with the plug-ins' versions.
std::vector<std::pair<unsigned int, const void*>> TablesOf(const Subject& subject) {
    std::vector<std::pair<unsigned int, const void*>> tables;
    for (const FoundPlugin& plugin : GetPlugins())
        if (plugin.file == subject.file && plugin.apiName == subject.api)
            tables.emplace_back(plugin.apiVersion,
                                PluginManager::getPluginSuite(PluginManager::getPlugin(
                                    plugin.name, plugin.apiName, plugin.apiVersion)));
    return tables;
}

/// The function table of a type in C; null for other types.
const OxOpTypePluginSuite_v2* TableInC(const Subject& subject) {
    for (const auto& [version, table] : TablesOf(subject)) {
        const auto* const suite = static_cast<const OxOpTypePluginSuite_v2*>(table);
        if (version != OX_OP_TYPE_API_VERSION || !suite || !suite->getDescription) continue;
        const OxOpDescription* const told = suite->getDescription();
        if (told && told->name && told->name == subject.name) return suite;
    }
    return nullptr;
}

bool IsSentence(const std::string& text) {
    const auto isUpper = [](char letter) {
        return std::isupper(static_cast<unsigned char>(letter)) != 0;
    };
    return text.size() > 3 && text.back() == '.' &&
           (isUpper(text.front()) || !std::isalpha(static_cast<unsigned char>(text.front())));
}

/// Whether a type is written as "int", "double[16]", "string[]" or "double[3][]".
bool IsTypeName(const std::string& type) {
    const std::size_t bracket = type.find('[');
    const std::string name = type.substr(0, bracket);
    static const std::set<std::string> kNames = {"int", "float", "double", "string", "group"};
    if (kNames.count(name) == 0) return false;
    if (bracket == std::string::npos) return true;
    const std::size_t end = type.find_first_not_of("0123456789", bracket + 1);
    if (end == std::string::npos) return false;
    const std::string rest = type.substr(end);
    const bool hasNumber = end > bracket + 1;
    return rest == "]" || (hasNumber && rest == "][]");
}

void CheckArgument(const OxOpType::Argument& argument, Verdict& verdict) {
    const std::string name = "argument \"" + argument.name + "\": ";
    verdict.expect(!argument.name.empty(), "an argument has no name");
    verdict.expect(!argument.type.empty(), name + "has no type");
    if (!argument.type.empty() && !IsTypeName(argument.type))
        verdict.note(name + "the type \"" + argument.type +
                     "\" is not written as \"int\", \"double[16]\", \"string[]\" or "
                     "\"double[3][]\"");
    if (verdict.expect(!argument.summary.empty(), name + "has no summary"))
        verdict.expect(IsSentence(argument.summary),
                       name + "the summary \"" + argument.summary + "\" is not a sentence");
}

bool AreEqual(const OxOpType::Description& a, const OxOpType::Description& b) {
    if (a.name != b.name || a.version != b.version || a.summary != b.summary ||
        a.inputs != b.inputs || a.arguments.size() != b.arguments.size())
        return false;
    for (std::size_t i = 0; i < a.arguments.size(); ++i)
        if (a.arguments[i].name != b.arguments[i].name ||
            a.arguments[i].type != b.arguments[i].type ||
            a.arguments[i].summary != b.arguments[i].summary)
            return false;
    return true;
}

std::string Text(const char* text) {
    return text ? text : "";
}

bool AreEqual(const OxOpDescription& a, const OxOpType::Description& b) {
    OxOpType::Description copy{Text(a.name), a.version, Text(a.summary), {}, Text(a.inputs)};
    for (std::int64_t i = 0; a.arguments && i < a.argumentCount; ++i)
        copy.arguments.push_back(
            {Text(a.arguments[i].name), Text(a.arguments[i].type), Text(a.arguments[i].summary)});
    return AreEqual(copy, b);
}

} // namespace

void CheckThatItLoads(const Subject& subject, Verdict& verdict) {
    for (const auto& table : TablesOf(subject))
        verdict.expect(table.second != nullptr, "a plug-in of the library has no function table");
    if (const OxOpTypePluginSuite_v2* const table = TableInC(subject)) CheckTable(*table, verdict);
    const bool isKnown = OxOpType::FindOpType(subject.name) != nullptr;
    const std::vector<std::string> reasons = ReasonsOfRefusal(subject);
    if (!isKnown && reasons.empty()) verdict.fault("there is no such op type");
    for (const std::string& reason : reasons)
        if (!isKnown || reason.find('"' + subject.name + '"') != std::string::npos)
            verdict.fault(reason);
}

void CheckDescription(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const told = DescriptionOf(subject, verdict);
    if (!told) return;
    verdict.expect(told->version > 0, "the version is " + std::to_string(told->version));
    verdict.expect(IsSentence(told->summary),
                   "the summary \"" + told->summary + "\" is not a sentence");
    verdict.expect(!told->inputs.empty(), "the inputs are not described");
    std::set<std::string> names;
    for (const OxOpType::Argument& argument : told->arguments) {
        CheckArgument(argument, verdict);
        verdict.expect(names.insert(argument.name).second,
                       "the argument \"" + argument.name + "\" is described twice");
    }
    // The class that stands for a type in C keeps the first description.
    const OxOpTypePluginSuite_v2* const table = TableInC(subject);
    const OxOpType::OpType& type = *OxOpType::FindOpType(subject.name);
    bool isSame = true;
    for (int i = 0; i < 2; ++i)
        isSame = isSame && (table ? AreEqual(*table->getDescription(), *told)
                                  : AreEqual(type.description(), *told));
    verdict.expect(isSame, "the description is not the same each time");
}

std::vector<Check> OpTypeChecks() {
    return {
        {kLoadingCheck, "The library, its function table and its description can be used.",
         CheckThatItLoads},
        {"description", "The type, its inputs and all of its arguments are described.",
         CheckDescription},
        {"missing parts", "Missing arguments, and too few or too many inputs, do no harm.",
         CheckMissingArguments},
        {"wrong arguments", "Values of wrong types, sizes and ranges do no harm.",
         CheckWrongArguments},
        {"odd paths", "Unusual paths do no harm, and have no locations that nobody named.",
         CheckOddPaths},
        {"same answer", "Results do not depend on the order of cooks, and evictions repeat them.",
         CheckSameAnswer},
        {"eight threads", "Eight threads at once get the results of one.", CheckEightThreads},
        {"failing input", "The error of an input concerns only locations that need it.",
         CheckFailingInput},
        {"changes", "The locations that edits can touch are all told.", CheckChanges},
        {"facts", "What is told without cooking agrees with what cooks give.", CheckFacts},
        {"nothing left", "A hundred scenes leave no memory, threads and open files.",
         CheckNothingLeft, false},
    };
}

} // namespace TellarTool
