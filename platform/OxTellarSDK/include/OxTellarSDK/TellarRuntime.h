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

namespace OxAttribute {
class FileStream;
} // namespace OxAttribute
namespace OxTellarRuntimeDetail {
struct OpNode;
struct RuntimeState;
} // namespace OxTellarRuntimeDetail

/// The lazy runtime: a Transaction builds a graph of Ops, and a Client that is pointed at the
/// terminal Op cooks locations on demand.
///
/// A location's result is computed once for the whole process, however many runtimes have an equal
/// op graph. A second thread that asks for it meanwhile waits for the first. Each runtime knows
/// which locations it has cooked itself (getCachedLocation).
///
/// When memory is short (OxTellarSDK/MemoryBudget.h), results that were not used lately are
/// dropped, and computed again when somebody asks for them. Data that a caller has stays as it is.
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

    /// Makes the transaction's Ops immutable and its clients usable. Throws std::runtime_error when
    /// the transaction has been committed before.
    void commit(const std::shared_ptr<Transaction>& transaction);

    /// Forgets that this runtime cooked the location. Its next cook computes the location again,
    /// through all Ops, and replaces the shared result. Does nothing for a path that was not
    /// cooked, unless results were dropped because memory was short: then any path may have been.
    void evict(const std::string& path);

    /// Ends a render: forgets what this runtime has cooked, and closes files without handles.
    /// LocationData stays usable, and so does the runtime, for example for the next render of the
    /// same scene.
    void finalize();

    /// Answers a text query ("getAnonymousOpTree", "getAnonymousOpRegistry") in JSON that leaves
    /// out the names of Ops and arguments. `receive` gets the text in pieces with status 0; for an
    /// unknown query it is called once with status 1 and no text.
    using TextReceiver = void (*)(const char* text, std::size_t length, int status, void* user);
    void queryText(const std::string& query, TextReceiver receive, void* user) const;

    /// The number of cooks in this process, over all runtimes: one for each Op and location, and
    /// more after evictions.
    static std::uint64_t getNumberOfCooks();

private:
    TellarRuntime();
    std::unique_ptr<OxTellarRuntimeDetail::RuntimeState> state;
};

/// The result of cooking a location: a counted pointer to an immutable record. Data from a client
/// also knows where the runtime keeps the location, for Client::cookChild. Threads: as for
/// Attribute.
class OXTELLARSDK_API TellarRuntime::LocationData {
public:
    LocationData() noexcept = default;
    LocationData(const LocationData& other) noexcept : record(other.record), place(other.place) {
        if (record) record->retain();
    }
    LocationData(LocationData&& other) noexcept
        : record(std::exchange(other.record, nullptr)), place(other.place) {}
    LocationData& operator=(const LocationData& other) noexcept {
        return *this = LocationData(other);
    }
    LocationData& operator=(LocationData&& other) noexcept {
        std::swap(record, other.record);
        place = other.place;
        return *this;
    }
    ~LocationData() {
        if (record) record->release();
    }

    /// Made from a group with the optional children "exists" (int, default 1), "attrs" (group) and
    /// "pc" (string). An invalid group gives invalid data.
    explicit LocationData(const OxAttribute::GroupAttribute& group);

    /// False for a default-constructed object, and for a location that was not cooked.
    bool isValid() const noexcept { return record != nullptr; }
    /// False for invalid data.
    bool doesLocationExist() const noexcept { return record && record->exists; }
    /// The location's attributes; invalid when it has none. The reference is valid as long as this
    /// object.
    const OxAttribute::GroupAttribute& getAttrs() const& {
        return record ? record->attrs : OxTellarRuntimeDetail::LocationRecord::NoAttrs();
    }
    OxAttribute::GroupAttribute getAttrs() && { return std::as_const(*this).getAttrs(); }
    /// The names of the location's potential children; invalid when it has none. The reference is
    /// valid as long as this object.
    const OxAttribute::StringAttribute& getPotentialChildren() const& {
        return record ? record->potentialChildren()
                      : OxTellarRuntimeDetail::LocationRecord::NoPotentialChildren();
    }
    OxAttribute::StringAttribute getPotentialChildren() && {
        return std::as_const(*this).getPotentialChildren();
    }
    /// The hash of existence, attributes and potential children. Computed on first need and kept.
    OxAttribute::Hash getHash() const;

    /// Takes over one reference. This constructor and the two functions below are for the runtime's
    /// own use.
    explicit LocationData(OxTellarRuntimeDetail::LocationRecord* stolen) noexcept
        : record(stolen) {}
    OxTellarRuntimeDetail::LocationRecord* getRecord() const noexcept { return record; }
    /// Hands the reference to the caller.
    OxTellarRuntimeDetail::LocationRecord* detachRecord() noexcept {
        return std::exchange(record, nullptr);
    }

private:
    friend class TellarRuntime::Client;
    OxTellarRuntimeDetail::LocationRecord* record = nullptr;
    OxTellarRuntimeDetail::NodeHandle place;
};

/// One operation of the graph. Immutable once committed.
class OXTELLARSDK_API TellarRuntime::Op {
public:
    /// Unique in its runtime, never negative.
    std::int32_t getId() const noexcept;
    /// The name given with Transaction::setOpName; otherwise "op<id>".
    std::string getName() const;
    /// Where the text stands that describes the Op (Transaction::setOpPlace); usually empty for
    /// Ops that come from no file.
    std::string getPlace() const;
    std::string getType() const;
    OxAttribute::GroupAttribute getArgs() const;
    /// May hold null entries.
    std::vector<std::shared_ptr<Op>> getInputs() const;
    /// The hash of type, type version, arguments and inputs; the zero hash before the commit.
    OxAttribute::Hash getIdentity() const;
    /// Parses the arguments now; otherwise the first cook does. Only for a committed Op whose
    /// results were not taken (Client::takeResults). Throws TellarError naming the Op when every
    /// cook of it would fail: its type is unknown, it is part of a cycle, or its type refuses its
    /// arguments.
    void prepare() const;

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

/// Cooks locations through one Op.
class OXTELLARSDK_API TellarRuntime::Client {
public:
    /// Cooks the location, or returns its existing result. A location that does not exist gives
    /// valid data whose doesLocationExist is false, and so does every location while the client has
    /// no Op.
    ///
    /// Throws TellarError naming the Op, its type and the location when an Op fails because
    /// its type is unknown, it is part of a cycle, or it threw an exception. An Op may use other
    /// clients while it cooks. If a location that it asks for needs its own result in turn, the
    /// cook throws "the location needs itself", even when different threads cook the two.
    LocationData cookLocation(const std::string& path);

    /// The location's data if this client's runtime has cooked it and the result was not dropped
    /// since, otherwise invalid data. Never cooks.
    LocationData getCachedLocation(const std::string& path);

    /// Cooks a child without its path: the one that the parent's data names at `index` among its
    /// potential children (StringAttribute::getValueView). Gives invalid data when the child has to
    /// be asked for by its path, because `parent` is not from a client of an equal Op, because
    /// results were taken or the parent was dropped since, or because the name is not one level of
    /// a path.
    LocationData cookChild(const LocationData& parent, std::int64_t index);

    /// Like getCachedLocation, for the child that cookChild would cook. Invalid data also means
    /// that the child is not cooked.
    LocationData getCachedChild(const LocationData& parent, std::int64_t index);

    /// Takes the client's results, and the results of its Ops unless another client of the runtime
    /// uses one of them. The returned object frees those that have no other user. The client stays
    /// usable: getCachedLocation then finds nothing, and the next cook finds results of other
    /// clients or computes its own again.
    ///
    /// Threads: no other thread may call this client meanwhile.
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
    std::atomic<View*> view{nullptr}; // owned; null before the commit, without Op or results
    bool hadResults = false;          // results were taken; guarded by the runtime's lock
};

/// Ops and clients under construction. Changing an Op or client that is committed or belongs to
/// another transaction throws std::invalid_argument. Inputs, and the Op of a client, may be Ops
/// that an earlier transaction committed.
class OXTELLARSDK_API TellarRuntime::Transaction {
public:
    std::shared_ptr<Op> createOp();
    /// Sets the name of the Op in error texts.
    void setOpName(const std::shared_ptr<Op>& op, const std::string& name);
    /// Sets the place of the Op's description, "scene.json:14:5" or the name of a file, with which
    /// error texts begin. Equal Ops share results whatever their places; an error tells the place
    /// of the Op that was asked.
    void setOpPlace(const std::shared_ptr<Op>& op, const std::string& place);
    void setOpArgs(const std::shared_ptr<Op>& op, const std::string& opType,
                   const OxAttribute::GroupAttribute& opArgs);
    /// Null entries are kept. A null input has no locations.
    void setOpInputs(const std::shared_ptr<Op>& op, const std::vector<std::shared_ptr<Op>>& inputs);
    /// Reads a serialised op file, creates its Ops and returns the terminal one. Throws
    /// TellarError naming the file (if known) when it is not a sound op file.
    std::shared_ptr<Op> deserializeOps(void* stream, StreamRead read);
    /// The same for a file from its beginning. Relative "directory" arguments count from the folder
    /// of the file, whose path is the place of the Ops.
    std::shared_ptr<Op> deserializeOps(OxAttribute::FileStream& file);

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
    std::shared_ptr<Op> createOps(const OxAttribute::GroupAttribute& description,
                                  const std::string& place);
    std::shared_ptr<TellarRuntime> runtime;
    std::vector<std::shared_ptr<Op>> ops;
    std::vector<std::shared_ptr<Client>> clients;
    bool committed = false;
};

#endif
