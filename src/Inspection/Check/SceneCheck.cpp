#include <OxTellarProducers/SceneCheck.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/VisitLocations.h>

#include "Findings.h"
#include "LocationChecks.h"
#include "OpRules.h"
#include "SceneUse.h"
#include "SettingRules.h"

namespace TELLAR {

namespace {

constexpr const char* kRoot = "/root";

std::array<bool, kRuleCount> WantedRules(const CheckOptions& options) {
    std::array<bool, kRuleCount> wanted;
    wanted.fill(options.rules.empty());
    const std::vector<CheckRule>& rules = GetCheckRules();
    for (const std::string& name : options.rules) {
        const auto rule = std::find_if(rules.begin(), rules.end(), [&](const CheckRule& candidate) {
            return candidate.name == name;
        });
        if (rule == rules.end()) throw std::invalid_argument("There is no rule \"" + name + '"');
        wanted[static_cast<std::size_t>(rule - rules.begin())] = true;
    }
    for (std::size_t i = 0; i < kRuleCount; ++i)
        if (rules[i].needsWholeScene && options.start != kRoot) wanted[i] = false;
    return wanted;
}

GeometryProducer::Ptr StartOf(const std::shared_ptr<TellarRuntime::Client>& client,
                              const std::string& path) {
    GeometryProducer::Ptr start = CreateSyncGeometryProducer(client, path);
    if (!start) throw std::runtime_error("There is no location \"" + path + '"');
    return start;
}

} // namespace

CheckReport CheckScene(const std::shared_ptr<TellarRuntime::Client>& client,
                       const CheckOptions& options) {
    if (!client) throw std::invalid_argument("CheckScene: the client is null");
    Findings findings(WantedRules(options), options.mostFindings);
    const GeometryProducer::Ptr start = StartOf(client, options.start);
    SceneUse use(client);
    LocationChecks checks(findings, use, LocationChecks::aboveStart(*start));

    CheckReport report;
    std::atomic<std::uint64_t> own{0};
    std::atomic<std::uint64_t>& count = options.progress ? *options.progress : own;
    const std::uint64_t before = count;
    const VisitOptions visit{options.threads, false, options.isCancelled};
    const VisitEnd end = VisitLocations(start, visit, [&](VisitedLocation& visited) {
        checks.check(visited);
        count.fetch_add(1, std::memory_order_relaxed);
        return VisitWish::GoOn;
    });
    report.isCancelled = end != VisitEnd::Done;
    report.locations = count - before;
    if (!report.isCancelled && options.start == kRoot) {
        CheckSettings(start, findings);
        use.report(start, findings);
        CheckOpTypes(client->getOp(), findings);
    }
    findings.moveTo(report);
    return report;
}

} // namespace TELLAR
