#ifndef OXTELLARPRODUCERS_HANDLETABLE_H
#define OXTELLARPRODUCERS_HANDLETABLE_H

#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "CallStamp.h"
#include "Findings.h"
#include "PoisonedCopies.h"

namespace TELLAR {

/// The origin and the end of a handle, for messages.
struct HandleFacts {
    HandleKind kind = HandleKind::None;
    CallStamp made;
    CallStamp released; ///< when all references were gone
    CallStamp lent;     ///< the newest loan
};

/// A reference that was not released, or a handle of version 2 or 3 that was not retained.
struct LeakedHandle {
    HandleFacts facts;
    CallStamp reference; ///< no slot: the handle was never retained
};

/// The handles that plug-ins have got, by address, with the references that they own.
///
/// A plug-in may use a handle while it owns a reference, while the handle is lent to it for a call,
/// or when it came without a reference (navigation in versions 2 and 3) and was not released yet.
///
/// A released handle is freed late: its address is used for no other handle until a few hundred
/// others were released, so that a use of it is recognised.
///
/// Any thread may call any function. The table is in shards, each with a lock of its own; no
/// function of the host is called under a lock.
class HandleTable {
public:
    explicit HandleTable(PoisonedCopies& poisoned) : poisoned(poisoned) {}

    /// Returns the mistake in using a handle as one of this kind; nothing for a sound use.
    std::optional<Fault> check(HandleKind kind, const void* handle, HandleFacts& facts) const;

    /// The one render that a handle belongs to and that goes on; 0 for none.
    int renderOf(const void* handle) const;

    /// A slot returned the handle, with a reference or without.
    void give(HandleKind kind, const void* handle, const CallStamp& stamp, bool isOwned);

    /// The host made the handle, with a count of 0. It is no leak.
    void adopt(HandleKind kind, const void* handle, const CallStamp& stamp);

    std::optional<Fault> retain(HandleKind kind, const void* handle, const CallStamp& stamp,
                                HandleFacts& facts);

    /// When a release is passed on to the host.
    enum class Forward { No, Now, Later };
    /// Calls `free` with the handle after some more releases, or in freeReleased().
    std::optional<Fault> release(HandleKind kind, void* handle, const CallStamp& stamp,
                                 HandleFacts& facts, Forward& forward);
    void freeLater(void* handle, SuiteCall::HandleFunction free);
    void freeReleased();

    /// The handle is lent to the plug-in until it is taken back.
    void lend(HandleKind kind, const void* handle, const CallStamp& stamp);
    void takeBack(const void* handle);

    /// The plug-in hands one of its references to the host, which does not release it here.
    void moveToHost(const void* handle);

    /// A copy of what the host returned, which is poisoned when the handle is gone. The original
    /// itself when it is large or the handle unknown.
    const void* borrow(const void* handle, const void* original, std::size_t size, bool isText,
                       const CallStamp& stamp);

    /// Returns what is left of a render, each only once. Its handles may not be used any more.
    /// While other renders go on, attributes and handles that were lent to several renders are
    /// passed over, because nothing tells which render releases which reference.
    std::vector<LeakedHandle> endRender(int render, bool isLast);
    /// Returns everything that is left and was not returned before.
    std::vector<LeakedHandle> findLeaks();

private:
    struct Record {
        HandleFacts facts;
        std::vector<CallStamp> references; // owned by plug-ins
        int render = 0;                    // to which it belongs; 0 for none
        int loans = 0;
        int hostReferences = 0;    // that were moved to the host
        bool isUnretained = false; // came without a reference, and is neither retained nor released
        bool isPastRender = false; // its render has ended
        bool isShared = false;     // it was lent to several renders that go on at once
        bool isLeakToldOf = false; // it was reported as never retained
        std::vector<BorrowedCopy> copies;

        bool isUsable() const {
            return !references.empty() || loans > 0 || hostReferences > 0 || isUnretained;
        }
    };

    struct Late {
        void* handle = nullptr;
        SuiteCall::HandleFunction free = nullptr;
    };

    struct Shard {
        mutable std::mutex mutex; // guards the next members
        std::unordered_map<const void*, Record> records;
        std::array<Late, 16> late{}; // a ring
        std::size_t nextLate = 0;
    };

    Shard& shardOf(const void* handle);
    const Shard& shardOf(const void* handle) const;
    /// The same for a record, which may be null.
    static std::optional<Fault> check(HandleKind kind, const Record* record, HandleFacts& facts);
    /// Notes the release of the last reference, and poisons what was borrowed from the handle.
    void bury(Record& record, const CallStamp& stamp);
    static void collectLeaks(Record& record, std::optional<int> render,
                             std::vector<LeakedHandle>& leaks);

    PoisonedCopies& poisoned;
    std::array<Shard, 64> shards;
};

} // namespace TELLAR

#endif
