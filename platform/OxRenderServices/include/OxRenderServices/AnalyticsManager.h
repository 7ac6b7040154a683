#ifndef OXRENDERSERVICES_ANALYTICSMANAGER_H
#define OXRENDERSERVICES_ANALYTICSMANAGER_H

#include <memory>
#include <string>

#include <rapidjson/document.h>

#include <OxRenderServices/Export.h>

namespace OxRenderServices {

/// Writes down what a render did: one line of JSON a record, appended to one file.
///
/// Nothing is written unless the environment variable OX_ANALYTICS_FILE names a file when
/// the manager is first asked for, or the host calls enable(). Any number of threads, and
/// of processes with the same file, may add records at once: each is a single write.
///
/// When the file cannot be opened or written, "AnalyticsManager" logs one error that names
/// it, and analytics are disabled. Nothing here throws on account of a file.
class OXRENDERSERVICES_API AnalyticsManager {
public:
    /// The manager; null while analytics are disabled, so that callers need not compose
    /// records in vain. The object is never destroyed.
    static AnalyticsManager* getInstance();

    /// Sends records to the end of this file from now on, whatever the environment says;
    /// the file is made when it does not exist. Returns null when it cannot be opened.
    static AnalyticsManager* enable(const std::string& path);

    /// Closes the file. Pointers to the manager stay valid and drop their records.
    static void disable();

    /// Appends {"name":<name>,"value":<value>}. A record that JSON cannot express, having
    /// an infinite number or text that is not UTF-8, is left out with a logged error.
    void addRecord(const std::string& name, const rapidjson::Value& value);

    AnalyticsManager(const AnalyticsManager&) = delete;
    AnalyticsManager& operator=(const AnalyticsManager&) = delete;

private:
    struct State;

    AnalyticsManager();
    ~AnalyticsManager();
    static AnalyticsManager& manager();
    bool open(const std::string& path, std::string& error);
    void decideFromEnvironment();

    std::unique_ptr<State> state;
};

} // namespace OxRenderServices

#endif
