#include <OxTellarProducers/ClientFactory.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <OxRenderServices/AnalyticsManager.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>
#include <rapidjson/document.h>

#include "ThreadLocalClient/ThreadClients.h"
#include "NamedLogger.h"
#include "UnusedResults.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("ClientFactory");

using Client = std::shared_ptr<TellarRuntime::Client>;

struct Creation {
    std::shared_ptr<TellarRuntime> runtime;
    Client client; // empty: it failed
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

/// Owns every client it ever made. An entry is in use, or released: then it stands in both
/// released lists, newest first.
///
/// A client that nobody uses gives its results back, not at once, but when it was found unused
/// twice: the scene that replaces it, or opens it again, still finds them. Clients that may have
/// results stand in the list of the cooking entries. They are looked at when there are a quarter
/// more of them than were in use the last time, so that each request looks at a few.
///
/// Locks: cacheLock guards everything but pendingReleases, and is held while a client is made;
/// pendingLock guards pendingReleases. Where both are held, cacheLock is taken first. Results are
/// freed without a lock, because an op type may do anything when it lets go of what it keeps.
class ClientFactory {
public:
    Client create(const OpTreeSource& source) {
        // Loads the plug-ins, whose code may ask for a client of its own: before the lock is taken.
        const OxTellarServicesHost pluginLoader;
        Results freed;
        const std::lock_guard<std::mutex> guard(cacheLock);
        takeInReleased();
        evict();
        takeResultsUnusedForLong(freed);
        if (Client client = reuse(source)) return client;
        const Creation creation = CreateClient(source);
        if (creation.client)
            noteCooking(
                entriesByClient.try_emplace(creation.client.get(), source, creation).first->second);
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
    struct ClientEntry;
    using EntryList = std::list<ClientEntry*>;
    using Results = std::vector<std::shared_ptr<const void>>;

    struct ClientEntry {
        OpTreeSource source;
        std::shared_ptr<TellarRuntime> runtime;
        Client client;
        bool released = false;
        bool isCooking = false; // stands in the list of the cooking entries
        bool wasUnused = false; // when it was last looked at there
        ClientEntry* nextCooking = nullptr;
        // The entry's elements of releasedEntries and of its source's list. While it is in use they
        // are here, so that taking note of a release needs no memory.
        EntryList element{this};
        EntryList elementOfSource{this};
        const EntryList::iterator place = element.begin();
        const EntryList::iterator placeOfSource = elementOfSource.begin();

        ClientEntry(const OpTreeSource& entrySource, const Creation& creation)
            : source(entrySource), runtime(creation.runtime), client(creation.client) {}
    };

    void takeInReleased() {
        std::list<Client> drained;
        {
            const std::lock_guard<std::mutex> guard(pendingLock);
            drained.swap(pendingReleases);
        }
        for (const Client& client : drained) {
            const auto found = entriesByClient.find(client.get());
            if (found != entriesByClient.end() && !found->second.released) link(found->second);
        }
    }

    void evict() {
        while (entriesByClient.size() > capacity && !releasedEntries.empty()) {
            ClientEntry* oldest = releasedEntries.back();
            unlink(*oldest);
            forgetCooking(*oldest);
            entriesByClient.erase(oldest->client.get());
        }
    }

    void noteCooking(ClientEntry& entry) {
        entry.wasUnused = false;
        if (std::exchange(entry.isCooking, true)) return;
        entry.nextCooking = std::exchange(firstCooking, &entry);
        ++cookingEntries;
    }

    void forgetCooking(const ClientEntry& entry) {
        for (ClientEntry** place = &firstCooking; *place; place = &(*place)->nextCooking) {
            if (*place != &entry) continue;
            *place = entry.nextCooking;
            --cookingEntries;
            return;
        }
    }

    void takeResultsUnusedForLong(Results& taken) {
        if (cookingEntries > usedEntries + usedEntries / 4) takeUnusedResults(taken, false);
    }

    /// `atOnce` takes those of clients too that were in use when they were last looked at.
    void takeUnusedResults(Results& taken, bool atOnce) {
        const ThreadClients threads;
        threads.forEachOfReopened([this](const Client& client) {
            const auto found = entriesByClient.find(client.get());
            if (found != entriesByClient.end()) noteCooking(found->second);
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
        // The count alone does not make visible what its last user did. Another reference does,
        // for its count is changed by the same kind of operation that ended the user's.
        const Client visible = entry.client;
        return true;
    }

    Client reuse(const OpTreeSource& source) {
        const EntryList& released = releasedBySource[source];
        if (released.empty()) return {};
        ClientEntry& newest = *released.front();
        unlink(newest);
        noteCooking(newest);
        return newest.client;
    }

    void link(ClientEntry& entry) {
        EntryList& ofSource = releasedBySource[entry.source];
        entry.released = true;
        releasedEntries.splice(releasedEntries.begin(), entry.element);
        ofSource.splice(ofSource.begin(), entry.elementOfSource);
    }

    void unlink(ClientEntry& entry) {
        entry.released = false;
        entry.element.splice(entry.element.begin(), releasedEntries, entry.place);
        entry.elementOfSource.splice(entry.elementOfSource.begin(), releasedBySource[entry.source],
                                     entry.placeOfSource);
    }

    const std::uint64_t capacity = std::numeric_limits<std::uint64_t>::max();

    std::mutex pendingLock;
    std::list<Client> pendingReleases;

    std::mutex cacheLock;
    std::map<TellarRuntime::Client*, ClientEntry, std::less<>> entriesByClient;
    EntryList releasedEntries;
    std::map<OpTreeSource, EntryList> releasedBySource;
    ClientEntry* firstCooking = nullptr;
    std::size_t cookingEntries = 0;
    std::size_t usedEntries = 0; // of the cooking ones, when they were last looked at
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
