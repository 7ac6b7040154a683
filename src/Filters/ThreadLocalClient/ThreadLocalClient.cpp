#include <OxTellarProducers/ThreadLocalClient.h>

#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/tss.hpp>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarProducers/ClientFactory.h>

namespace TELLAR {

namespace {

using Client = std::shared_ptr<TellarRuntime::Client>;

const OxLoggerGlue& Logger() {
    static const OxLoggerGlue* const logger = new OxLoggerGlue("ThreadLocalClient");
    return *logger;
}

/// A thread's reference to its client. It is kept when the thread ends, so that whoever still runs
/// on the thread finds the client alive, and becomes that of the next thread with this client: a
/// store has as many as it ever had threads at once.
struct Holder {
    const Client client;
    std::atomic<bool> isFree{false}; // its thread has ended
    Holder* next = nullptr;

    explicit Holder(Client threadsClient) : client(std::move(threadsClient)) {}
};

} // namespace

/// What each thread holds for one source. Neither stores nor holders are ever destroyed.
class ThreadLocalClient::Store {
public:
    Store() : holders(&HandBack) {}

    const Client& getClient(const OpTreeSource& source) {
        if (lastUsed.store == this) return lastUsed.holder->client;
        Holder* holder = holders.get();
        if (!holder) holder = hold(ClientCreateWithOpTree(source));
        lastUsed = {this, holder};
        return holder->client;
    }

private:
    // What the thread asked for last: walks ask the same store again and again.
    struct LastUsed {
        const Store* store = nullptr;
        Holder* holder = nullptr;
    };
    static thread_local LastUsed lastUsed;

    Holder* hold(const Client& client) {
        Holder* holder = nullptr;
        try {
            holder = takeFree(client);
            if (!holder) holder = add(client);
            holders.reset(holder);
            return holder;
        } catch (...) { // no memory: the client is none of this thread's
            if (holder) holder->isFree.store(true, std::memory_order_release);
            ClientInvalidate(client);
            throw;
        }
    }

    Holder* takeFree(const Client& client) const {
        for (Holder* holder = newest.load(std::memory_order_acquire); holder; holder = holder->next)
            if (holder->client == client &&
                holder->isFree.exchange(false, std::memory_order_acq_rel))
                return holder;
        return nullptr;
    }

    Holder* add(const Client& client) {
        auto* const holder = new Holder(client);
        holder->next = newest.load(std::memory_order_relaxed);
        while (!newest.compare_exchange_weak(holder->next, holder, std::memory_order_release,
                                             std::memory_order_relaxed)) {
        }
        return holder;
    }

    /// Runs at the end of a thread. The thread's next request, if one of its other objects makes
    /// one at its own end, is that of a new thread.
    static void HandBack(Holder* holder) {
        if (lastUsed.holder == holder) lastUsed = {};
        Client client = holder->client;
        // Before the client can be another thread's, which takes the holder with it.
        holder->isFree.store(true, std::memory_order_release);
        try {
            ClientInvalidate(std::move(client));
        } catch (const std::exception&) { // no memory: the client stays unused
        }
    }

    boost::thread_specific_ptr<Holder> holders;
    std::atomic<Holder*> newest{nullptr}; // of all holders
};

thread_local ThreadLocalClient::Store::LastUsed ThreadLocalClient::Store::lastUsed;

/// One store for each source of the process; entries are never removed.
struct StoreRegistry {
    std::mutex registryLock;
    std::map<OpTreeSource, boost::shared_ptr<ThreadLocalClient::Store>> storesBySource;

    static StoreRegistry& Get() {
        static StoreRegistry* const registry = new StoreRegistry;
        return *registry;
    }

    boost::shared_ptr<ThreadLocalClient::Store> obtain(const OpTreeSource& source) {
        const std::lock_guard<std::mutex> guard(registryLock);
        const auto known = storesBySource.find(source);
        if (known != storesBySource.end()) return known->second;
        std::string problem;
        if (!source.isValid(&problem)) {
            if (Logger().errorEnabled())
                Logger().error("Invalid Op tree source: " + problem, __FILE__, __LINE__);
            return {};
        }
        return storesBySource.emplace(source, boost::make_shared<ThreadLocalClient::Store>())
            .first->second;
    }
};

ThreadLocalClient::ThreadLocalClient(const OpTreeSource& opTreeSource)
    : source(opTreeSource), store(StoreRegistry::Get().obtain(opTreeSource)) {}

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
