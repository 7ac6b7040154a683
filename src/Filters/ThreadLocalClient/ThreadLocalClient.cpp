#include <OxTellarProducers/ThreadLocalClient.h>

#include <exception>
#include <map>
#include <new>
#include <string>

#include <OxTellarProducers/ClientFactory.h>

#include "ClientFactory/ThreadClients.h"
#include "NamedLogger.h"
#include "PerThread.h"

namespace TELLAR {

namespace {

const NamedLogger kLogger("ThreadLocalClient");

using Client = std::shared_ptr<TellarRuntime::Client>;

/// The clients of one thread. They are given back when the thread ends.
class ClientsOfThread {
public:
    ClientsOfThread() = default;
    ~ClientsOfThread() {
        for (const auto& known : clients) {
            try {
                if (known.second) ClientInvalidate(*known.second);
            } catch (const std::exception&) { // no memory: the client stays unused
            }
        }
    }
    ClientsOfThread(const ClientsOfThread&) = delete;
    ClientsOfThread& operator=(const ClientsOfThread&) = delete;

    const Client& get(const OpTreeSource& source, ThreadClients& ofSource) {
        if (lastSource != &ofSource) {
            const Client*& client = clients[&ofSource];
            if (!client) client = &ClientCreateForThread(source, ofSource);
            lastSource = &ofSource;
            lastClient = client;
        }
        return *lastClient;
    }

private:
    std::map<const ThreadClients*, const Client*> clients; // null until the thread has one
    const ThreadClients* lastSource = nullptr; // walks ask for the same one over and over
    const Client* lastClient = nullptr;
};

} // namespace

ThreadLocalClient::ThreadLocalClient(const OpTreeSource& opTreeSource) : source(opTreeSource) {
    std::string problem;
    clients = OpenThreadClients(source, &problem);
    if (!clients) kLogger.error("Invalid Op tree source: {}", problem);
}

ThreadLocalClient::~ThreadLocalClient() = default;

std::shared_ptr<TellarRuntime::Client> ThreadLocalClient::getClient() {
    return getHeldClient();
}

const std::shared_ptr<TellarRuntime::Client>& ThreadLocalClient::getHeldClient() {
    static const Client* const none = new Client;
    if (!clients) return *none;
    ClientsOfThread* const own = PerThread<ClientsOfThread>::Get();
    if (!own) throw std::bad_alloc();
    return own->get(source, *clients);
}

} // namespace TELLAR
