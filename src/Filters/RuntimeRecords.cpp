#include "RuntimeRecords.h"

#include <string>

#include <OxRenderServices/AnalyticsManager.h>
#include <rapidjson/document.h>

namespace TELLAR {

namespace {

std::string QueryRuntime(const TellarRuntime& runtime, const char* query) {
    std::string text;
    runtime.queryText(
        query,
        [](const char* piece, std::size_t length, int status, void* user) {
            if (status == 0) static_cast<std::string*>(user)->append(piece, length);
        },
        &text);
    return text;
}

} // namespace

void RecordUsage(const TellarRuntime& runtime) {
    OxRenderServices::AnalyticsManager* analytics =
        OxRenderServices::AnalyticsManager::getInstance();
    if (!analytics) return;
    constexpr const char* kQueriesAndNames[][2] = {
        {"getAnonymousOpTree", "runtime.opTree"}, {"getAnonymousOpRegistry", "runtime.opRegistry"}};
    for (const auto& [query, name] : kQueriesAndNames) {
        const std::string text = QueryRuntime(runtime, query);
        if (text.empty()) continue;
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        analytics->addRecord(name, document);
    }
}

} // namespace TELLAR
