#include <OxTellarProducers/ThreadLocalClient.h>

#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>

#include <OxTellarProducers/ClientFactory.h>

#include "NamedLogger.h"
#include "PerThread.h"
#include "ThreadClients.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("ThreadLocalClient");

using Client = std::shared_ptr<TellarRuntime::Client>;

/// A thread's reference to its client. It outlives the thread, because other objects of the thread
/// may still use the client at their own ends, and goes to the next thread that gets this client. A
/// store has as many holders as it ever had threads at once.
struct Holder {
    const Client client;
    std::atomic<bool> isFree{false}; // its thread has ended
    Holder* next = nullptr;

    explicit Holder(Client threadsClient) : client(std::move(threadsClient)) {}
};

} // namespace

/// The clients of all threads for one source. Stores and holders are never destroyed.
class ThreadLocalClient::Store {
public:
    /// The calling thread's client.
    const Client& getClient(const OpTreeSource& source) {
        ThreadHolders* const own = PerThread<ThreadHolders>::Get();
        if (!own) throw std::bad_alloc();
        Holder* holder = own->find(this);
        if (!holder) holder = hold(*own, ClientCreateWithOpTree(source));
        return holder->client;
    }

    /// The first holder for which `matches` is true; null when there is none.
    template <typename Matches>
    Holder* find(Matches matches) const {
        Holder* holder = newest.load(std::memory_order_acquire);
        while (holder && !matches(*holder))
            holder = holder->next;
        return holder;
    }

    // For the registry: the source got a ThreadLocalClient again.
    bool isReopened = false;
    Store* nextReopened = nullptr;

private:
    /// The holders of one thread. Its clients are handed back when the thread ends.
    class ThreadHolders {
    public:
        ThreadHolders() = default;
        ~ThreadHolders() {
            for (const auto& [store, holder] : holders)
                HandBack(*holder);
        }
        ThreadHolders(const ThreadHolders&) = delete;
        ThreadHolders& operator=(const ThreadHolders&) = delete;

        /// Null when the thread has no client of the store yet.
        Holder* find(const Store* store) {
            if (lastStore != store) {
                const auto known = holders.find(store);
                if (known == holders.end()) return nullptr;
                lastStore = store;
                lastHolder = known->second;
            }
            return lastHolder;
        }
        void add(const Store* store, Holder* holder) { holders.emplace(store, holder); }

    private:
        std::map<const Store*, Holder*> holders;
        const Store* lastStore = nullptr; // walks ask the same one over and over
        Holder* lastHolder = nullptr;
    };

    Holder* hold(ThreadHolders& own, const Client& client) {
        Holder* holder = nullptr;
        try {
            holder = find([&](Holder& other) {
                return other.client == client &&
                       other.isFree.exchange(false, std::memory_order_acq_rel);
            });
            if (!holder) holder = add(client);
            own.add(this, holder);
            return holder;
        } catch (...) { // no memory: the thread does without the client
            if (holder) holder->isFree.store(true, std::memory_order_release);
            ClientInvalidate(client);
            throw;
        }
    }

    Holder* add(const Client& client) {
        auto* const holder = new Holder(client);
        holder->next = newest.load(std::memory_order_relaxed);
        while (!newest.compare_exchange_weak(holder->next, holder, std::memory_order_release,
                                             std::memory_order_relaxed)) {
        }
        return holder;
    }

    /// A request that the thread makes after this is that of a new thread.
    static void HandBack(Holder& holder) {
        Client client = holder.client;
        // First, because the next thread that gets the client takes the holder with it.
        holder.isFree.store(true, std::memory_order_release);
        try {
            ClientInvalidate(std::move(client));
        } catch (const std::exception&) { // no memory: the client stays unused
        }
    }

    std::atomic<Holder*> newest{nullptr}; // of all holders
};

/// One store for each source of the process; entries are never removed. A store that only the
/// registry refers to has no ThreadLocalClient; it gets one under the lock.
struct StoreRegistry {
    using Store = ThreadLocalClient::Store;

    std::mutex registryLock;
    std::map<OpTreeSource, boost::shared_ptr<Store>> storesBySource;
    Store* reopened = nullptr;

    static StoreRegistry& Get() {
        static StoreRegistry* const registry = new StoreRegistry;
        return *registry;
    }

    /// Empty for an invalid source. Assigns whether a known source had no ThreadLocalClient.
    boost::shared_ptr<Store> obtain(const OpTreeSource& source, bool* isReopened) {
        const std::lock_guard<std::mutex> guard(registryLock);
        const auto known = storesBySource.find(source);
        if (known != storesBySource.end()) {
            *isReopened = known->second.use_count() == 1;
            if (*isReopened) noteReopened(*known->second);
            return known->second;
        }
        std::string problem;
        if (!source.isValid(&problem)) {
            kLogger.error("Invalid Op tree source: {}", problem);
            return {};
        }
        return storesBySource.emplace(source, boost::make_shared<Store>()).first->second;
    }

private:
    void noteReopened(Store& store) {
        if (std::exchange(store.isReopened, true)) return;
        store.nextReopened = std::exchange(reopened, &store);
    }
};

ThreadClients::ThreadClients() : guard(StoreRegistry::Get().registryLock) {}

std::optional<long> ThreadClients::referencesTo(const Client& client,
                                                const OpTreeSource& source) const {
    const StoreRegistry& registry = StoreRegistry::Get();
    const auto known = registry.storesBySource.find(source);
    if (known == registry.storesBySource.end()) return 0;
    if (known->second.use_count() != 1) return std::nullopt;
    return known->second->find([&](auto& holder) { return holder.client == client; }) ? 1 : 0;
}

void ThreadClients::forEachOfReopened(const std::function<void(const Client&)>& body) const {
    StoreRegistry& registry = StoreRegistry::Get();
    while (StoreRegistry::Store* store = registry.reopened) {
        store->find([&](auto& holder) {
            body(holder.client);
            return false;
        });
        registry.reopened = store->nextReopened;
        store->isReopened = false;
    }
}

ThreadLocalClient::ThreadLocalClient(const OpTreeSource& opTreeSource) : source(opTreeSource) {
    bool isReopened = false;
    store = StoreRegistry::Get().obtain(source, &isReopened);
    // A scene that is opened for the first time may share results with one that is unused now. So
    // those are freed later, by the request for its client.
    if (isReopened) FreeResultsUnusedForLong();
}

ThreadLocalClient::~ThreadLocalClient() = default;

std::shared_ptr<TellarRuntime::Client> ThreadLocalClient::getClient() {
    return getHeldClient();
}

const std::shared_ptr<TellarRuntime::Client>& ThreadLocalClient::getHeldClient() {
    if (store) return store->getClient(source);
    static const Client* const none = new Client;
    return *none;
}

} // namespace TELLAR
