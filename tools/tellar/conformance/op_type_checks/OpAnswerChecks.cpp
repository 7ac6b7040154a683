// Checks that results depend on the arguments and inputs alone.
#include "OpTypeChecks.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

#include "ArgumentSamples.h"
#include "OpTypeUnderTest.h"
#include "Plugins.h"
#include "ProbeInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using OxPluginManager::PluginManager;

constexpr std::size_t kMostPaths = 400;
constexpr std::size_t kMostNeeds = 60;
constexpr std::size_t kMostFailures = 20;
constexpr std::size_t kThreads = 8;
constexpr int kRounds = 4;

/// The answers that one thread gets from a scene of its own, from the top down.
Answers ExpectedAnswers(const OpCase& made) {
    const auto client = made.open()->getClient();
    return CookAll(*client, PathsOf(*client, kMostPaths));
}

std::vector<std::string> PathsIn(const Answers& answers) {
    std::vector<std::string> paths;
    for (const auto& answer : answers)
        paths.push_back(answer.first);
    return paths;
}

void Compare(const std::string& what, const Answers& expected, const Answers& found,
             FirstFaults& faults) {
    const std::string difference = FirstDifference(expected, found);
    if (!difference.empty()) faults.add(what + ": " + difference);
}

GroupAttribute Labelled(int label) {
    return GroupAttribute({{"label", IntAttribute(label)}}, true);
}

// Same answer -------------------------------------------------------------------------------------

void FlushCaches(const Subject& subject) {
    for (const FoundPlugin& plugin : GetPlugins())
        if (plugin.file == subject.file)
            PluginManager::flushSpecificPluginCache(
                PluginManager::getPlugin(plugin.name, plugin.apiName, plugin.apiVersion));
}

void CheckOrders(const Subject& subject, const OpCase& made, FirstFaults& faults) {
    const Answers expected = ExpectedAnswers(made);
    std::vector<std::string> paths = PathsIn(expected);
    std::reverse(paths.begin(), paths.end());
    const auto scene = made.open();
    const auto client = scene->getClient();
    Compare(made.name + ", leaves first", expected, CookAll(*client, paths), faults);
    for (const std::string& path : paths)
        client->getRuntime()->evict(path);
    Compare(made.name + ", after an eviction", expected, CookAll(*client, paths), faults);
    client->getRuntime()->finalize();
    FlushCaches(subject);
    Compare(made.name + ", after a flush", expected, CookAll(*client, paths), faults);
    if (made.op().inputs.empty()) return;
    const Answers relabelled =
        CookAll(*WithProbes(made, Labelled(-1)).open()->getClient(), PathsIn(expected));
    Compare(made.name + ", repeated", expected, relabelled, faults);
}

// Threads -----------------------------------------------------------------------------------------

/// Runs the body in eight threads that start together, each with its number.
void RunTogether(const std::function<void(std::size_t)>& body) {
    std::atomic<std::size_t> ready{0};
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number)
        threads.emplace_back([&ready, &body, number] {
            ++ready;
            while (ready < kThreads)
                std::this_thread::yield();
            body(number);
        });
    for (std::thread& thread : threads)
        thread.join();
}

/// Cooks the locations in eight threads, of which each begins at another place.
void CookTogether(const std::string& what, const Answers& expected,
                  const std::function<ClientPtr(std::size_t)>& clientOf, FirstFaults& faults) {
    const std::vector<std::string> paths = PathsIn(expected);
    std::vector<Answers> found(kThreads);
    RunTogether([&](std::size_t number) {
        const ClientPtr client = clientOf(number);
        std::vector<std::string> own = paths;
        const std::size_t start = number / 2 * paths.size() / kThreads; // two from each place
        std::rotate(own.begin(), own.begin() + static_cast<std::ptrdiff_t>(start), own.end());
        found[number] = CookAll(*client, own);
    });
    for (const Answers& answers : found)
        if (answers != expected) return Compare(what, expected, answers, faults);
}

void CheckThreads(const OpCase& made, FirstFaults& faults) {
    const Answers expected = ExpectedAnswers(made);
    for (int round = 0; round < kRounds; ++round) {
        const auto scene = made.open();
        CookTogether(
            made.name + ", eight threads on one client", expected,
            [&](std::size_t) { return scene->getClient(); }, faults);
    }
    for (int round = 0; round < kRounds; ++round)
        CookTogether(
            made.name + ", eight threads with scenes of their own", expected,
            [&](std::size_t number) {
                const int label =
                    1000 + round * static_cast<int>(kThreads) + static_cast<int>(number);
                return WithProbes(made, Labelled(label)).open()->getClient();
            },
            faults);
}

// Failing inputs ----------------------------------------------------------------------------------

/// The locations of inputs that the op under test asks for when it cooks one location.
std::set<std::string> LocationsNeeded(const OpCase& made, const std::string& path, int label) {
    const auto client = WithProbes(made, Labelled(label)).open()->getClient();
    TakeLocationsAskedFor();
    Cook(*client, path);
    return TakeLocationsAskedFor();
}

GroupAttribute FailingAt(const std::string& location) {
    return GroupAttribute({{"fail", StringAttribute(location)}}, true);
}

/// The fault of an answer that an error of an input has changed; an empty text if there is none.
std::string FaultOf(const Answer& answer, bool needsInput) {
    if (!needsInput) return "does not need that location, and gives " + answer.text();
    if (!answer.isError()) return "hides the error: " + answer.text();
    if (answer.error.find(kProbeError) != std::string::npos) return {};
    return "the text of the input's error is lost: " + answer.error;
}

void CompareFailed(const OpCase& made, const std::string& failing, const Answers& expected,
                   const std::map<std::string, std::set<std::string>>& needs, FirstFaults& faults) {
    const auto client = WithProbes(made, FailingAt(failing)).open()->getClient();
    const std::string what = made.name + ", while its input fails at " + failing + ", ";
    for (const auto& [path, needed] : needs) {
        const Answer answer = Cook(*client, path);
        if (answer == expected.at(path)) continue;
        const std::string fault = FaultOf(answer, needed.count(failing) != 0);
        if (!fault.empty()) faults.add(what + std::string(path).append(": ").append(fault));
    }
}

void CheckFailures(const OpCase& made, FirstFaults& faults) {
    const Answers all = ExpectedAnswers(made);
    std::map<std::string, std::set<std::string>> needs;
    std::set<std::string> candidates;
    int label = 1;
    for (const auto& answer : all) {
        if (needs.size() == kMostNeeds) break;
        const std::set<std::string> needed = LocationsNeeded(made, answer.first, label++);
        candidates.insert(needed.begin(), needed.end());
        needs.emplace(answer.first, needed);
    }
    std::size_t tried = 0;
    for (const std::string& failing : candidates)
        if (tried++ < kMostFailures) CompareFailed(made, failing, all, needs, faults);
}

} // namespace

void CheckSameAnswer(const Subject& subject, Verdict& verdict) {
    FirstFaults faults(verdict);
    for (const OpCase& made : UsableCases(subject, verdict)) {
        faults.step(made.name);
        CheckOrders(subject, made, faults);
    }
}

void CheckEightThreads(const Subject& subject, Verdict& verdict) {
    FirstFaults faults(verdict);
    for (const OpCase& made : UsableCases(subject, verdict)) {
        faults.step(made.name);
        CheckThreads(made, faults);
    }
}

void CheckFailingInput(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const description = DescriptionOf(subject, verdict);
    if (!description) return;
    if (!TakesInputs(*description)) return verdict.skip("the op type takes no inputs");
    FirstFaults faults(verdict);
    for (const OpCase& made : UsableCases(subject, verdict)) {
        faults.step(made.name);
        CheckFailures(made, faults);
    }
}

} // namespace TellarTool
