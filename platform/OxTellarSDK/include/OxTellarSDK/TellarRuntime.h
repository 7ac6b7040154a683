#ifndef OXTELLARSDK_TELLARRUNTIME_H
#define OXTELLARSDK_TELLARRUNTIME_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/LocationRecord.h>

namespace OxTellarRuntimeDetail {
struct OpNode;
struct RuntimeState;
} // namespace OxTellarRuntimeDetail

/// The lazy runtime: a graph of Ops is built in a Transaction, a Client is pointed
/// at the terminal Op, and cooks locations on demand.
///
/// A location's result is computed once for the whole process, however many runtimes
/// hold an equal op graph; a second thread that wants it meanwhile waits for the
/// first. What a runtime has cooked itself is known to it alone (getCachedLocation).
///
/// Threads: cookLocation, getCachedLocation and evict may be called from any number
/// of threads at once. One Transaction is for one thread at a time.
class OXTELLARSDK_API TellarRuntime : public std::enable_shared_from_this<TellarRuntime> {
public:
    class Client;
    class LocationData;
    class Op;
    class Transaction;

    static std::shared_ptr<TellarRuntime> create();
    ~TellarRuntime();
    TellarRuntime(const TellarRuntime&) = delete;
    TellarRuntime& operator=(const TellarRuntime&) = delete;

    std::shared_ptr<Transaction> createTransaction();

    /// Makes the transaction's Ops immutable and its clients usable. A transaction is
    /// committed once; a second commit throws std::runtime_error.
    void commit(const std::shared_ptr<Transaction>& transaction);

    /// Forgets that this runtime cooked the location; its next cook computes it anew,
    /// through all Ops, and replaces the shared result. Nothing for a path never cooked.
    void evict(const std::string& path);

    /// Ends a render: forgets what this runtime has cooked, and closes files that nobody
    /// holds any more. Records handed out stay usable, and so does the runtime: it may be
    /// handed to the next render of the same scene.
    void finalize();

    /// Answers a text query ("getAnonymousOpTree", "getAnonymousOpRegistry") in JSON,
    /// in pieces: `receive` gets each with status 0. An unknown query is answered by
    /// one call with status 1 and no text. Ops and arguments are not named in it.
    using TextReceiver = void (*)(const char* text, std::size_t length, int status, void* user);
    void queryText(const std::string& query, TextReceiver receive, void* user) const;

    /// How many location computations were run in this process, over all runtimes:
    /// one per Op and location unless evicted.
    static std::uint64_t getNumberOfCooks();

private:
    TellarRuntime();
    std::unique_ptr<OxTellarRuntimeDetail::RuntimeState> state;
};

/// What cooking one location gave: a counted pointer to one immutable record.
/// Threads: as for Attribute.
class OXTELLARSDK_API TellarRuntime::LocationData {
public:
    LocationData() noexcept = default;
    LocationData(const LocationData& other) noexcept : record(other.record) {
        if (record) record->retain();
    }
    LocationData(LocationData&& other) noexcept : record(std::exchange(other.record, nullptr)) {}
    LocationData& operator=(const LocationData& other) noexcept {
        return *this = LocationData(other);
    }
    LocationData& operator=(LocationData&& other) noexcept {
        std::swap(record, other.record);
        return *this;
    }
    ~LocationData() {
        if (record) record->release();
    }

    /// From a group with the children "exists" (int; absent means 1), "attrs" (group)
    /// and "pc" (string); the last two may be absent. An invalid group gives invalid
    /// data.
    explicit LocationData(const OxAttribute::GroupAttribute& group);

    /// False for a default-constructed object, and for a location never cooked.
    bool isValid() const noexcept { return record != nullptr; }
    /// False for invalid data.
    bool doesLocationExist() const noexcept { return record && record->exists; }
    /// Invalid when the location has no attributes. In place: lives as long as this object.
    const OxAttribute::GroupAttribute& getAttrs() const& {
        return record ? record->attrs : OxTellarRuntimeDetail::LocationRecord::NoAttrs();
    }
    OxAttribute::GroupAttribute getAttrs() && { return std::as_const(*this).getAttrs(); }
    /// The names of the location's potential children; invalid when it has none. In place.
    const OxAttribute::StringAttribute& getPotentialChildren() const& {
        return record ? record->potentialChildren
                      : OxTellarRuntimeDetail::LocationRecord::NoPotentialChildren();
    }
    OxAttribute::StringAttribute getPotentialChildren() && {
        return std::as_const(*this).getPotentialChildren();
    }
    /// Of existence, attributes and potential children; computed on first need and kept.
    OxAttribute::Hash getHash() const;

    /// Takes over one reference. For the runtime's own use.
    explicit LocationData(OxTellarRuntimeDetail::LocationRecord* stolen) noexcept
        : record(stolen) {}
    OxTellarRuntimeDetail::LocationRecord* getRecord() const noexcept { return record; }
    /// Hands the reference to the caller.
    OxTellarRuntimeDetail::LocationRecord* detachRecord() noexcept {
        return std::exchange(record, nullptr);
    }

private:
    OxTellarRuntimeDetail::LocationRecord* record = nullptr;
};

/// One operation of the graph. Immutable once committed.
class OXTELLARSDK_API TellarRuntime::Op {
public:
    /// Unique in its runtime, never negative.
    std::int32_t getId() const noexcept;
    /// The name given with Transaction::setOpName, else "op<id>".
    std::string getName() const;
    std::string getType() const;
    OxAttribute::GroupAttribute getArgs() const;
    /// May hold null entries.
    std::vector<std::shared_ptr<Op>> getInputs() const;
    /// Made at commit from type, type version, arguments and inputs; the zero hash before.
    OxAttribute::Hash getIdentity() const;

    ~Op();
    Op(const Op&) = delete;
    Op& operator=(const Op&) = delete;

private:
    friend class TellarRuntime;
    friend class Transaction;
    friend struct OxTellarRuntimeDetail::OpNode;
    explicit Op(std::int32_t id);
    std::unique_ptr<OxTellarRuntimeDetail::OpNode> node;
};

/// Looks at locations as the Op it is pointed at presents them.
class OXTELLARSDK_API TellarRuntime::Client {
public:
    /// Cooks the location, or returns what was cooked before. A location that does not
    /// exist gives valid data whose doesLocationExist is false; so does every location
    /// while the client has no Op.
    ///
    /// Throws std::runtime_error naming the Op, its type and the location when an Op
    /// fails: its type is unknown, it is part of a cycle, or it threw itself. An Op may look
    /// through other clients while it cooks. Where the location that it asks for needs its own
    /// result in turn, that is an error as well, "the location needs itself", even when the two
    /// are cooked by different threads.
    LocationData cookLocation(const std::string& path);

    /// The location's data if this client's runtime has cooked it, else invalid data.
    /// Never cooks.
    LocationData getCachedLocation(const std::string& path);

    /// Takes from the client what it has cooked, and from its Ops what they keep unless another
    /// client of the runtime looks at some. All of it that nobody else uses is freed with the
    /// object returned. The client stays usable: its next cook finds the results of others, or
    /// computes its own anew, and getCachedLocation knows nothing before.
    ///
    /// Threads: not while another thread calls this client.
    std::shared_ptr<const void> takeResults();

    std::shared_ptr<TellarRuntime> getRuntime() const;
    std::shared_ptr<Op> getOp() const;

    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

private:
    friend class TellarRuntime;
    friend class Transaction;
    explicit Client(std::shared_ptr<TellarRuntime> owner);
    struct View;
    void look();
    View* lookAgain();
    std::shared_ptr<TellarRuntime> runtime;
    std::shared_ptr<Op> op;
    std::atomic<View*> view{nullptr}; // owned; null until committed with an Op, and without results
    bool hadResults = false;          // they were taken; guarded by the runtime's lock
};

/// Ops and clients under construction. What belongs to another transaction, or is committed
/// already, is not changed: std::invalid_argument. Inputs, and the Op of a client, may be Ops that
/// an earlier transaction committed.
class OXTELLARSDK_API TellarRuntime::Transaction {
public:
    std::shared_ptr<Op> createOp();
    /// The name that errors use; for people only.
    void setOpName(const std::shared_ptr<Op>& op, const std::string& name);
    void setOpArgs(const std::shared_ptr<Op>& op, const std::string& opType,
                   const OxAttribute::GroupAttribute& opArgs);
    /// Null entries are kept: such an input presents no location.
    void setOpInputs(const std::shared_ptr<Op>& op, const std::vector<std::shared_ptr<Op>>& inputs);
    /// Reads a serialised op file, creates its Ops and returns the terminal one. Throws
    /// std::runtime_error for anything else, naming the file if known.
    std::shared_ptr<Op> deserializeOps(void* stream, StreamRead read);

    std::shared_ptr<Client> createClient();
    void setClientOp(const std::shared_ptr<Client>& client, const std::shared_ptr<Op>& op);

    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

private:
    friend class TellarRuntime;
    explicit Transaction(std::shared_ptr<TellarRuntime> owner);
    void checkOpen(const std::shared_ptr<Op>& op) const;
    void checkUsable(const std::shared_ptr<Op>& op) const;
    std::shared_ptr<TellarRuntime> runtime;
    std::vector<std::shared_ptr<Op>> ops;
    std::vector<std::shared_ptr<Client>> clients;
    bool committed = false;
};

#endif
