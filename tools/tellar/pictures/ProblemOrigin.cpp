#include "ProblemOrigin.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string_view>
#include <utility>

#include <OxTellarProducers/LocationHistory.h>

#include "HistoryAnswer.h"

namespace TellarTool {

namespace {

using Client = std::shared_ptr<TellarRuntime::Client>;
using TELLAR::HistoryAction;
using TELLAR::HistoryStep;
using TELLAR::LocationHistory;

constexpr std::string_view kRoot = "/root";
constexpr std::string_view kColon = ": ";

/// Words for what is known by another name than that of an attribute.
constexpr std::pair<std::string_view, const char*> kWords[] = {{"its material", "material"},
                                                               {"its transform", "xform"}};

/// The path in front of a colon that leads to a location, which the path itself may contain.
std::string LocationIn(const Client& client, const std::string& message) {
    if (message.compare(0, kRoot.size(), kRoot) != 0) return {};
    for (std::size_t end = message.find(kColon); end != std::string::npos;
         end = message.find(kColon, end + 1)) {
        std::string path = message.substr(0, end);
        if (client->cookLocation(path).doesLocationExist()) return path;
    }
    return {};
}

/// The first quoted name of an attribute that the location has itself, or the attribute that a word
/// stands for.
std::string AttributeIn(const OxAttribute::GroupAttribute& attributes, std::string_view text) {
    for (const auto& [word, attribute] : kWords)
        if (text.find(word) != std::string_view::npos) return attribute;
    if (!attributes.isValid()) return {};
    for (std::size_t begin = text.find('"'); begin != std::string_view::npos;
         begin = text.find('"', begin + 1)) {
        const std::size_t end = text.find('"', begin + 1);
        if (end == std::string_view::npos) return {};
        std::string name(text.substr(begin + 1, end - begin - 1));
        if (!name.empty() && attributes.getChildByName(name).isValid()) return name;
        begin = end;
    }
    return {};
}

/// The history up to the op that made the location, which later ones may have changed.
LocationHistory UntilItWasMade(LocationHistory history) {
    const auto made =
        std::find_if(history.steps.begin(), history.steps.end(),
                     [](const HistoryStep& step) { return step.action == HistoryAction::Made; });
    if (made != history.steps.end())
        history.decidedBy = static_cast<std::size_t>(made - history.steps.begin());
    return history;
}

std::string Origin(const Client& client, const std::string& message) {
    const std::string location = LocationIn(client, message);
    if (location.empty()) return {};
    const std::string attribute =
        AttributeIn(client->cookLocation(location).getAttrs(),
                    std::string_view(message).substr(location.size() + kColon.size()));
    LocationHistory history = TELLAR::GetLocationHistory(client, location, attribute);
    return DecisionText(attribute.empty() ? UntilItWasMade(std::move(history)) : history);
}

} // namespace

/// Does not throw, because a plug-in in C is among the callers. The message says what is wrong,
/// with or without its origin.
std::string OriginOfProblem(const Client& client, const std::string& message) {
    if (message.find("Op \"") != std::string::npos) return {};
    try {
        return Origin(client, message);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace TellarTool
