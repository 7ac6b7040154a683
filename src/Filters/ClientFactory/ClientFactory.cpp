#include <OxTellarProducers/ClientFactory.h>

#include <cstddef>
#include <exception>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "NamedLogger.h"
#include "RuntimeRecords.h"
#include "ThreadClients.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("ClientFactory");

using Client = std::shared_ptr<TellarRuntime::Client>;

/// A new client, which keeps its runtime alive. Empty, with a logged reason, when none can be made.
Client CreateClient(const OpTreeSource& source) {
    std::string problem;
    if (!source.isValid(&problem)) {
        kLogger.error("Invalid Op tree source: {}", problem);
        return {};
    }
    const auto runtime = OxTellarServicesHost().createRuntime();
    if (!runtime) {
        kLogger.error("Runtime could not be loaded.");
        return {};
    }
    const auto transaction = runtime->createTransaction();
    const std::shared_ptr<TellarRuntime::Op> op = source.getOp(transaction);
    if (!op || op->getId() < 0) {
        kLogger.error("Could not parse OpTree from '{}'.", source.describe());
        return {};
    }
    Client client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    RecordUsage(*runtime);
    return client;
}

/// Owns every client that it ever made. A released client is on the stack of its source, from which
/// the next request for the source takes it.
///
/// A client is unused when only the factory and threads hold pointers to it, and its source has no
/// ThreadLocalClient, through which threads could use theirs.
///
/// The results of a client are freed when a check finds it unused. A check covers the cooking
/// entries, those that may have results. It runs when there are a quarter more of them than were in
/// use at the last check, so a request checks a few entries on average. The request itself still
/// finds what it shares with a scene that is no longer used, because what was taken is freed at its
/// end, and a request for the same scene is none for another one.
///
/// Locks: each guards the members below it. They are taken in the order of the members. cacheLock
/// is held while a client is made. Results are freed without a lock, because that runs code of op
/// types.
class ClientFactory {
public:
    Client create(const OpTreeSource& source) {
        // Loads the plug-ins before the lock is taken: their code may ask for a client of its own.
        const OxTellarServicesHost pluginLoader;
        Results freed;
        const std::lock_guard<std::mutex> guard(cacheLock);
        update(freed, false);
        const auto known = releasedBySource.find(source);
        const bool isReleased = known != releasedBySource.end() && known->second;
        ClientEntry* const entry = isReleased ? known->second : make(source);
        if (!entry) return {};
        noteCooking(*entry);
        entry->ofSource.second = entry->nextReleased;
        entry->isReleased = false;
        return entry->client;
    }

    const Client& createForThread(const OpTreeSource& source, ThreadClients& threads) {
        const Client client = create(source);
        try {
            const std::lock_guard<std::mutex> guard(threadsLock);
            return *threads.references.insert(client).first;
        } catch (const std::exception&) { // no memory: the thread does without the client
            invalidate(client);
            throw;
        }
    }

    boost::shared_ptr<ThreadClients> openThreads(const OpTreeSource& source, std::string* problem) {
        std::unique_lock<std::mutex> threadsGuard(threadsLock);
        const auto known = threadsBySource.find(source);
        if (known == threadsBySource.end()) {
            // Frees no results: a new scene may share them. The request for its client frees some.
            if (!source.isValid(problem)) return {};
            return threadsBySource.emplace(source, boost::make_shared<ThreadClients>())
                .first->second;
        }
        const bool isReopened = known->second.use_count() == 1;
        if (isReopened) reopened.insert(known->second.get());
        boost::shared_ptr<ThreadClients> threads = known->second;
        threadsGuard.unlock();
        Results freed;
        std::unique_lock<std::mutex> guard(cacheLock, std::defer_lock);
        if (isReopened && guard.try_lock()) update(freed, false);
        return threads;
    }

    void freeUnusedResults() {
        Results freed;
        const std::lock_guard<std::mutex> guard(cacheLock);
        update(freed, true);
    }

    void invalidate(Client client) {
        const std::lock_guard<std::mutex> guard(pendingLock);
        pendingReleases.push_back(std::move(client));
    }

private:
    using Results = std::vector<std::shared_ptr<const void>>;

    struct ClientEntry;
    /// The client of each source that was released last. Null when none is released.
    using ReleasedBySource = std::map<OpTreeSource, ClientEntry*>;

    struct ClientEntry {
        const Client client;
        ReleasedBySource::value_type& ofSource;
        ClientEntry* nextReleased = nullptr;
        bool isReleased = false;
    };

    /// Handles released clients and reopened sources. Then takes the results of all unused clients
    /// if a check is due or wanted.
    void update(Results& taken, bool isCheckWanted) {
        noteReleased();
        const std::lock_guard<std::mutex> guard(threadsLock);
        noteReopened();
        if (isCheckWanted || cooking.size() > usedEntries + usedEntries / 4)
            takeUnusedResults(taken);
    }

    void noteReleased() {
        std::list<Client> drained;
        {
            const std::lock_guard<std::mutex> guard(pendingLock);
            drained.swap(pendingReleases);
        }
        for (const Client& client : drained)
            if (ClientEntry* const entry = find(client)) release(*entry);
    }

    /// Threads cook again with the clients that they kept while their source had no
    /// ThreadLocalClient.
    void noteReopened() {
        for (const ThreadClients* threads : reopened)
            for (const Client& client : threads->references)
                if (ClientEntry* const entry = find(client)) noteCooking(*entry);
        reopened.clear();
    }

    void takeUnusedResults(Results& taken) {
        usedEntries = 0;
        for (auto place = cooking.begin(); place != cooking.end();) {
            const ClientEntry& entry = **place;
            if (isUnused(entry)) {
                taken.emplace_back();
                taken.back() = entry.client->takeResults();
                place = cooking.erase(place);
            } else {
                ++usedEntries;
                ++place;
            }
        }
    }

    bool isUnused(const ClientEntry& entry) const {
        std::size_t references = 1;
        const auto known = threadsBySource.find(entry.ofSource.first);
        if (known != threadsBySource.end()) {
            if (known->second.use_count() != 1) return false;
            references += known->second->references.count(entry.client);
        }
        if (static_cast<std::size_t>(entry.client.use_count()) != references) return false;
        // Reading the count does not synchronise with the thread that dropped the last reference;
        // changing it does.
        const Client visible = entry.client;
        return true;
    }

    ClientEntry* find(const Client& client) {
        const auto found = entries.find(client.get());
        return found == entries.end() ? nullptr : &found->second;
    }

    /// Makes a client and puts it on the stack of its source. Null when none can be made.
    ClientEntry* make(const OpTreeSource& source) {
        const Client client = CreateClient(source);
        if (!client) return nullptr;
        auto& ofSource = *releasedBySource.try_emplace(source).first;
        ClientEntry& entry =
            entries.emplace(client.get(), ClientEntry{client, ofSource}).first->second;
        release(entry);
        return &entry;
    }

    static void release(ClientEntry& entry) {
        if (std::exchange(entry.isReleased, true)) return;
        entry.nextReleased = std::exchange(entry.ofSource.second, &entry);
    }

    void noteCooking(ClientEntry& entry) { cooking.insert(&entry); }

    std::mutex cacheLock;
    std::map<TellarRuntime::Client*, ClientEntry> entries;
    ReleasedBySource releasedBySource;
    std::set<ClientEntry*> cooking;
    std::size_t usedEntries = 0; // cooking entries in use at the last check

    std::mutex threadsLock;
    std::map<OpTreeSource, boost::shared_ptr<ThreadClients>> threadsBySource; // entries stay
    std::set<const ThreadClients*> reopened; // have got a ThreadLocalClient again

    std::mutex pendingLock;
    std::list<Client> pendingReleases;
};

ClientFactory& GetFactory() {
    static ClientFactory* const factory = new ClientFactory;
    return *factory;
}

} // namespace

std::shared_ptr<TellarRuntime::Client> ClientCreateWithOpTree(const OpTreeSource& source) {
    return GetFactory().create(source);
}

const std::shared_ptr<TellarRuntime::Client>& ClientCreateForThread(const OpTreeSource& source,
                                                                    ThreadClients& threads) {
    return GetFactory().createForThread(source, threads);
}

boost::shared_ptr<ThreadClients> OpenThreadClients(const OpTreeSource& source,
                                                   std::string* problem) {
    return GetFactory().openThreads(source, problem);
}

void ClientInvalidate(std::shared_ptr<TellarRuntime::Client> client) {
    GetFactory().invalidate(std::move(client));
}

void ClientFreeUnusedResults() {
    GetFactory().freeUnusedResults();
}

} // namespace TELLAR
