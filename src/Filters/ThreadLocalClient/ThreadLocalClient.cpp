#include <OxTellarProducers/ThreadLocalClient.h>

#include <map>
#include <mutex>
#include <string>

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

/// Runs at the end of a thread. The holder is kept, and with it the thread's reference: whoever
/// still runs on the thread after this finds its client alive.
void HandBack(Client* holder) {
    ClientInvalidate(*holder);
}

} // namespace

/// What each thread holds for one source.
class ThreadLocalClient::Store {
public:
    Store() : holders(&HandBack) {}

    const Client& getClient(const OpTreeSource& source) {
        if (lastUsed.store == this) return *lastUsed.holder;
        Client* holder = holders.get();
        if (!holder) {
            auto made = std::make_unique<Client>(ClientCreateWithOpTree(source));
            holders.reset(made.get());
            holder = made.release();
        }
        lastUsed = {this, holder};
        return *holder;
    }

private:
    // What the thread asked for last: walks ask the same store again and again. Neither stores
    // nor holders are ever destroyed.
    struct LastUsed {
        const Store* store = nullptr;
        Client* holder = nullptr;
    };
    static thread_local LastUsed lastUsed;

    boost::thread_specific_ptr<Client> holders;
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
