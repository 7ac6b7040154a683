#include "HistoryDetails.h"

#include <algorithm>
#include <cstdint>

#include "HistoryWords.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::HistoryChange;
using TELLAR::HistoryStep;

constexpr std::size_t kWidestName = 48;
constexpr std::size_t kMostOfGroup = 4; // values of a new group that take a line each

std::string Printable(const std::string& text) {
    std::string printable;
    AppendPrintable(printable, text);
    return printable;
}

/// A line with two columns.
struct Detail {
    std::string name;
    std::string value;
};

/// ", from /root/materials/red" for a value of another location, ", from "sky"" for one of another
/// input.
std::string SourceText(const HistoryStep& step, const HistoryChange& change) {
    if (change.copiedFrom.empty()) return {};
    if (change.copiedFrom != step.location) return ", from " + Printable(change.copiedFrom);
    const auto inputs = step.op->getInputs();
    const bool isKnown = change.copiedInput < inputs.size() && inputs[change.copiedInput];
    return isKnown ? ", from \"" + Printable(inputs[change.copiedInput]->getName()) + '"' : "";
}

/// The name within the attribute that the history is about.
std::string NameIn(const std::string& attribute, const std::string& name) {
    const bool isWithin = !attribute.empty() && name.size() > attribute.size() &&
                          name.compare(0, attribute.size() + 1, attribute + '.') == 0;
    return Printable(isWithin ? name.substr(attribute.size() + 1) : name);
}

/// Adds the values of a group one by one. Groups are nested at most kMaxGroupDepth levels deep.
void AddNewValues(const std::string& name, const Attribute& value, std::vector<Detail>& details) {
    const GroupAttribute group(value);
    if (group.getNumberOfChildren() == 0) {
        details.push_back({"+ " + name, ShortText(value)});
        return;
    }
    const std::string prefix = name.empty() ? name : name + '.';
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        AddNewValues(prefix + Printable(group.getChildName(i)), group.getChildByIndex(i), details);
}

void AddChange(const HistoryStep& step, const HistoryChange& change, const std::string& attribute,
               std::vector<Detail>& details) {
    const std::string name = NameIn(attribute, change.attribute);
    const std::string source = SourceText(step, change);
    if (!change.after.isValid()) {
        details.push_back({"- " + name, ShortText(change.before)});
    } else if (change.before.isValid()) {
        details.push_back({"~ " + name, ChangeText(change) + source});
    } else if (!source.empty()) {
        details.push_back({"+ " + name, ShortText(change.after) + source});
    } else if (change.attribute == attribute) {
        AddNewValues({}, change.after, details);
    } else {
        std::vector<Detail> values;
        AddNewValues(name, change.after, values);
        if (values.size() > kMostOfGroup) values = {{"+ " + name, ShortText(change.after)}};
        details.insert(details.end(), values.begin(), values.end());
    }
}

void AddChildren(const HistoryStep& step, std::vector<Detail>& details) {
    if (step.addedChildren.isValid())
        details.push_back({"+ children", NamesText(step.addedChildren)});
    if (step.removedChildren.isValid())
        details.push_back({"- children", NamesText(step.removedChildren)});
    if (step.areChildrenReordered) details.push_back({"~ children", "in another order"});
}

std::vector<std::string> LinesOf(const std::vector<Detail>& details) {
    std::size_t width = 0;
    for (const Detail& detail : details)
        width = std::max(width, std::min(detail.name.size(), kWidestName));
    std::vector<std::string> lines;
    for (const Detail& detail : details) {
        std::string line = detail.name;
        if (line.size() < width) line.append(width - line.size(), ' ');
        lines.push_back(line + "  " + detail.value);
    }
    return lines;
}

} // namespace

std::vector<std::string> DetailsOf(const HistoryStep& step, const std::string& attribute,
                                   std::size_t mostLines) {
    std::vector<Detail> details;
    for (const HistoryChange& change : step.changes)
        AddChange(step, change, attribute, details);
    AddChildren(step, details);
    const std::size_t count = details.size();
    // A line that counts a single one would be as long.
    const bool isCut = count > mostLines + 1;
    if (isCut) details.resize(mostLines);
    std::vector<std::string> lines = LinesOf(details);
    if (isCut) lines.push_back("... and " + std::to_string(count - mostLines) + " more");
    return lines;
}

} // namespace TellarTool
