#include <OxTellarProducers/ClientFactory.h>

#include <cstddef>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include <OxRenderServices/AnalyticsManager.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>
#include <rapidjson/document.h>

#include "NamedLogger.h"
#include "ThreadLocalClient/ThreadClients.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("ClientFactory");

using Client = std::shared_ptr<TellarRuntime::Client>;

struct Creation {
    std::shared_ptr<TellarRuntime> runtime;
    Client client; // empty when it failed
};

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

void RecordUsage(const TellarRuntime& runtime) {
    OxRenderServices::AnalyticsManager* analytics =
        OxRenderServices::AnalyticsManager::getInstance();
    if (!analytics) return;
    struct Record {
        const char* query;
        const char* name;
    };
    constexpr Record records[] = {{"getAnonymousOpTree", "runtime.opTree"},
                                  {"getAnonymousOpRegistry", "runtime.opRegistry"}};
    for (const Record& record : records) {
        const std::string text = QueryRuntime(runtime, record.query);
        if (text.empty()) continue;
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        analytics->addRecord(record.name, document);
    }
}

Creation CreateClient(const OpTreeSource& source) {
    std::string problem;
    if (!source.isValid(&problem)) {
        kLogger.error("Invalid Op tree source: {}", problem);
        return {};
    }
    const OxTellarServicesHost servicesHost;
    Creation creation;
    creation.runtime = servicesHost.createRuntime();
    if (!creation.runtime) {
        kLogger.error("Runtime could not be loaded.");
        return {};
    }
    const auto transaction = creation.runtime->createTransaction();
    const std::shared_ptr<TellarRuntime::Op> op = source.getOp(transaction);
    if (!op || op->getId() < 0) {
        kLogger.error("Could not parse OpTree from '{}'.", source.describe());
        return {};
    }
    creation.client = transaction->createClient();
    transaction->setClientOp(creation.client, op);
    creation.runtime->commit(transaction);
    RecordUsage(*creation.runtime);
    return creation;
}

/// Owns every client that it ever made. A released client is on the stack of its source, from which
/// the next request for the source takes it.
///
/// The results of a client are freed when a check finds it unused for the second time, so that a
/// scene which replaces it, or opens it again, still finds them. A check covers the cooking
/// entries, those that may have results. It runs when there are a quarter more of them than were in
/// use at the last check, so a request checks a few entries on average.
///
/// Locks: cacheLock guards everything but pendingReleases, and is held while a client is made;
/// pendingLock guards pendingReleases and is taken last. Results are freed without a lock, because
/// that runs code of op types.
class ClientFactory {
public:
    Client create(const OpTreeSource& source) {
        // Loads the plug-ins before the lock is taken: their code may ask for a client of its own.
        const OxTellarServicesHost pluginLoader;
        Results freed;
        const std::lock_guard<std::mutex> guard(cacheLock);
        takeInReleased();
        takeResultsUnusedForLong(freed);
        const auto known = newestReleased.find(source);
        if (known != newestReleased.end() && known->second) return reuse(*known->second);
        const Creation creation = CreateClient(source);
        if (creation.client)
            noteCooking(
                entries.try_emplace(creation.client.get(), source, creation, newestReleased[source])
                    .first->second);
        return creation.client;
    }

    void freeResultsUnusedForLong() {
        Results freed;
        const std::unique_lock<std::mutex> guard(cacheLock, std::try_to_lock);
        if (guard) takeResultsUnusedForLong(freed);
    }

    void freeUnusedResults() {
        Results freed;
        const std::lock_guard<std::mutex> guard(cacheLock);
        takeInReleased();
        takeUnusedResults(freed, true);
    }

    void invalidate(Client client) {
        const std::lock_guard<std::mutex> guard(pendingLock);
        pendingReleases.push_back(std::move(client));
    }

private:
    using Results = std::vector<std::shared_ptr<const void>>;

    struct ClientEntry {
        const OpTreeSource source;
        const std::shared_ptr<TellarRuntime> runtime;
        const Client client;
        ClientEntry*& newestReleased; // of the source
        ClientEntry* nextReleased = nullptr;
        ClientEntry* nextCooking = nullptr;
        bool isReleased = false;
        bool isCooking = false;
        bool wasUnused = false; // at the last check

        ClientEntry(const OpTreeSource& source, const Creation& creation, ClientEntry*& released)
            : source(source), runtime(creation.runtime), client(creation.client),
              newestReleased(released) {}
    };

    void takeInReleased() {
        std::list<Client> drained;
        {
            const std::lock_guard<std::mutex> guard(pendingLock);
            drained.swap(pendingReleases);
        }
        for (const Client& client : drained) {
            const auto found = entries.find(client.get());
            if (found == entries.end()) continue;
            ClientEntry& entry = found->second;
            if (std::exchange(entry.isReleased, true)) continue;
            entry.nextReleased = std::exchange(entry.newestReleased, &entry);
        }
    }

    const Client& reuse(ClientEntry& newest) {
        newest.newestReleased = newest.nextReleased;
        newest.isReleased = false;
        noteCooking(newest);
        return newest.client;
    }

    void noteCooking(ClientEntry& entry) {
        entry.wasUnused = false;
        if (std::exchange(entry.isCooking, true)) return;
        entry.nextCooking = std::exchange(firstCooking, &entry);
        ++cookingEntries;
    }

    void takeResultsUnusedForLong(Results& taken) {
        if (cookingEntries > usedEntries + usedEntries / 4) takeUnusedResults(taken, false);
    }

    /// `atOnce` also takes the results of clients that were in use at the last check.
    void takeUnusedResults(Results& taken, bool atOnce) {
        const ThreadClients threads;
        threads.forEachOfReopened([this](const Client& client) {
            const auto found = entries.find(client.get());
            if (found != entries.end()) noteCooking(found->second);
        });
        usedEntries = 0;
        for (ClientEntry** place = &firstCooking; *place;) {
            ClientEntry& entry = **place;
            const bool isUnused = IsUnused(entry, threads);
            usedEntries += isUnused ? 0 : 1;
            if (isUnused && (atOnce || entry.wasUnused)) {
                taken.emplace_back();
                taken.back() = entry.client->takeResults();
                *place = entry.nextCooking;
                --cookingEntries;
                entry.isCooking = false;
            } else {
                entry.wasUnused = isUnused;
                place = &entry.nextCooking;
            }
        }
    }

    static bool IsUnused(const ClientEntry& entry, const ThreadClients& threads) {
        const std::optional<long> ofThreads = threads.referencesTo(entry.client, entry.source);
        if (!ofThreads || entry.client.use_count() != 1 + *ofThreads) return false;
        // Reading the count does not synchronise with the thread that dropped the last reference;
        // changing it does.
        const Client visible = entry.client;
        return true;
    }

    std::mutex pendingLock;
    std::list<Client> pendingReleases;

    std::mutex cacheLock;
    std::map<TellarRuntime::Client*, ClientEntry, std::less<>> entries;
    std::map<OpTreeSource, ClientEntry*> newestReleased; // null when none of the source is released
    ClientEntry* firstCooking = nullptr;
    std::size_t cookingEntries = 0;
    std::size_t usedEntries = 0; // of the cooking ones, at the last check
};

ClientFactory& GetFactory() {
    static ClientFactory* const factory = new ClientFactory;
    return *factory;
}

} // namespace

std::shared_ptr<TellarRuntime::Client> ClientCreateWithOpTree(const OpTreeSource& source) {
    return GetFactory().create(source);
}

void ClientInvalidate(std::shared_ptr<TellarRuntime::Client> client) {
    GetFactory().invalidate(std::move(client));
}

void ClientFreeUnusedResults() {
    GetFactory().freeUnusedResults();
}

void FreeResultsUnusedForLong() {
    GetFactory().freeResultsUnusedForLong();
}

} // namespace TELLAR
