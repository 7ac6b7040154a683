#include "CookedScene.h"

#include <exception>

#include <OxTellarSDK/TellarError.h>

namespace TellarTool {

namespace {

constexpr std::size_t kMostChildren = 24; // of one location

/// The text behind 'Op "name" (Type) at "/root": '.
std::string ReasonIn(const ErrorFacts& facts) {
    std::string place = "Op \"" + facts.op + "\" (" + facts.opType + ')';
    if (facts.text.compare(0, place.size(), place) != 0) return facts.text;
    const std::string location = " at \"" + facts.location + '"';
    if (facts.text.compare(place.size(), location.size(), location) == 0) place += location;
    return facts.text.substr(std::min(place.size() + 2, facts.text.size()));
}

Answer AnswerOf(const ErrorFacts& facts) {
    Answer answer;
    answer.error = facts.text.empty() ? "an error without a text" : facts.text;
    answer.failedOp = facts.op;
    answer.reason = ReasonIn(facts);
    return answer;
}

} // namespace

std::string Answer::text() const {
    if (isError()) return error;
    return exists ? "it exists, hash " + hash.str().substr(0, 8) : "it does not exist";
}

Answer Cook(TellarRuntime::Client& client, const std::string& path) {
    try {
        const TellarRuntime::LocationData data = client.cookLocation(path);
        Answer answer;
        answer.exists = data.doesLocationExist();
        answer.hash = data.getHash();
        return answer;
    } catch (const std::exception& error) {
        return AnswerOf(FactsOf(error));
    }
}

Answers CookAll(TellarRuntime::Client& client, const std::vector<std::string>& paths) {
    Answers answers;
    for (const std::string& path : paths)
        answers[path] = Cook(client, path);
    return answers;
}

std::vector<std::string> ChildrenOf(TellarRuntime::Client& client, const std::string& path,
                                    std::size_t most) {
    std::vector<std::string> children;
    TellarRuntime::LocationData data;
    try {
        data = client.cookLocation(path);
    } catch (const std::exception&) {
        return children;
    }
    if (!data.doesLocationExist()) return children;
    const auto names = data.getPotentialChildren().getNearestSample(0);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names.size() <= most || i < most / 2 || i >= names.size() - most / 2)
            children.push_back(path + '/' + std::string(names[i]));
    return children;
}

std::vector<std::string> PathsOf(TellarRuntime::Client& client, std::size_t most) {
    std::vector<std::string> paths{"/root"};
    for (std::size_t i = 0; i < paths.size(); ++i)
        for (std::string& child : ChildrenOf(client, std::string(paths[i]), kMostChildren)) {
            if (paths.size() >= most) return paths;
            paths.push_back(std::move(child));
        }
    return paths;
}

std::string FirstDifference(const Answers& expected, const Answers& found) {
    for (const auto& [path, answer] : expected) {
        const auto other = found.find(path);
        if (other != found.end() && other->second != answer)
            return path + ": first " + answer.text() + ", then " + other->second.text();
    }
    return {};
}

} // namespace TellarTool
