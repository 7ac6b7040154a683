#include "HandleTable.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace TELLAR {

namespace {

// Larger values are lent as they are, because a copy of all points of a scene takes too much.
constexpr std::size_t kMostCopiedBytes = 64 << 10;

// The render of a leftover reference that was told of.
constexpr int kToldOf = -1;

/// Releases the newest reference of the thread, else of the render, else the oldest. Only
/// attributes have several whose makers differ.
void RemoveBest(std::vector<CallStamp>& references, const CallStamp& stamp) {
    const auto isOfThread = [&](const CallStamp& each) { return each.thread == stamp.thread; };
    const auto isOfRender = [&](const CallStamp& each) { return each.render == stamp.render; };
    auto best = std::find_if(references.rbegin(), references.rend(), isOfThread);
    if (best == references.rend())
        best = std::find_if(references.rbegin(), references.rend(), isOfRender);
    if (best == references.rend()) --best;
    references.erase(std::next(best).base());
}

} // namespace

HandleTable::Shard& HandleTable::shardOf(const void* handle) {
    return const_cast<Shard&>(std::as_const(*this).shardOf(handle));
}

const HandleTable::Shard& HandleTable::shardOf(const void* handle) const {
    // The lowest bits are equal in all addresses from the heap.
    return shards[(reinterpret_cast<std::uintptr_t>(handle) >> 5) % shards.size()];
}

std::optional<Fault> HandleTable::check(HandleKind kind, const Record* record, HandleFacts& facts) {
    if (!record) return Fault::Foreign;
    facts = record->facts;
    if (!record->isUsable())
        return facts.released.slot ? Fault::UsedAfterRelease : Fault::AfterLoan;
    if (facts.kind != kind) return Fault::WrongKind;
    const auto isOfHost = [](const CallStamp& reference) { return reference.render == 0; };
    const bool isKept = std::any_of(record->references.begin(), record->references.end(), isOfHost);
    return record->isPastRender && !isKept ? std::optional(Fault::AfterRender) : std::nullopt;
}

std::optional<Fault> HandleTable::check(HandleKind kind, const void* handle,
                                        HandleFacts& facts) const {
    const Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    return check(kind, found != shard.records.end() ? &found->second : nullptr, facts);
}

int HandleTable::renderOf(const void* handle) const {
    const Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    const bool isOfRender =
        found != shard.records.end() && !found->second.isPastRender && !found->second.isShared;
    return isOfRender ? found->second.render : 0;
}

void HandleTable::give(HandleKind kind, const void* handle, const CallStamp& stamp, bool isOwned) {
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    Record& record = shard.records[handle];
    const bool isFromHost = record.isUnretained && record.isLeakToldOf;
    if (!record.isUsable() || record.facts.kind != kind || isFromHost) {
        for (BorrowedCopy& copy : record.copies)
            poisoned.add(std::move(copy));
        record = Record();
        record.facts.kind = kind;
        record.facts.made = stamp;
        record.render = stamp.render;
    }
    record.hostReferences = 0;
    record.isPastRender = false;
    if (isOwned) record.references.push_back(stamp);
    record.isUnretained = record.references.empty();
    record.isLeakToldOf = false;
}

void HandleTable::adopt(HandleKind kind, const void* handle, const CallStamp& stamp) {
    give(kind, handle, stamp, false);
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    shard.records[handle].isLeakToldOf = true;
}

std::optional<Fault> HandleTable::retain(HandleKind kind, const void* handle,
                                         const CallStamp& stamp, HandleFacts& facts) {
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    const auto fault = check(kind, found != shard.records.end() ? &found->second : nullptr, facts);
    if (fault && fault != Fault::AfterRender) return fault;
    found->second.isUnretained = false;
    found->second.references.push_back(stamp);
    return fault;
}

void HandleTable::bury(Record& record, const CallStamp& stamp) {
    record.facts.released = stamp;
    for (BorrowedCopy& copy : record.copies) {
        copy.released = stamp;
        poisoned.add(std::move(copy));
    }
    record.copies.clear();
}

std::optional<Fault> HandleTable::release(HandleKind kind, void* handle, const CallStamp& stamp,
                                          HandleFacts& facts, Forward& forward) {
    forward = Forward::No;
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    auto fault = check(kind, found != shard.records.end() ? &found->second : nullptr, facts);
    if (fault == Fault::UsedAfterRelease) return Fault::ReleasedTwice;
    if (fault && fault != Fault::AfterRender) return fault;
    Record& record = found->second;
    if (!record.references.empty()) {
        RemoveBest(record.references, stamp);
        forward = record.isUsable() ? Forward::Now : Forward::Later;
    } else if (record.hostReferences > 0) {
        --record.hostReferences;
        forward = Forward::Now;
    } else if (record.isUnretained) {
        record.isUnretained = false;
        fault = Fault::Leaked;
    } else {
        fault = Fault::NotOwned;
    }
    if (!record.isUsable()) bury(record, stamp);
    return fault;
}

void HandleTable::freeLater(void* handle, SuiteCall::HandleFunction free) {
    Late oldest{handle, free};
    {
        Shard& shard = shardOf(handle);
        const std::lock_guard<std::mutex> lock(shard.mutex);
        std::swap(oldest, shard.late[shard.nextLate]);
        shard.nextLate = (shard.nextLate + 1) % shard.late.size();
    }
    if (oldest.handle) oldest.free(oldest.handle);
}

void HandleTable::freeReleased() {
    for (Shard& shard : shards) {
        std::array<Late, 16> late{};
        {
            const std::lock_guard<std::mutex> lock(shard.mutex);
            std::swap(late, shard.late);
        }
        for (const Late& each : late)
            if (each.handle) each.free(each.handle);
    }
}

void HandleTable::lend(HandleKind kind, const void* handle, const CallStamp& stamp) {
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    Record& record = shard.records[handle];
    if (!record.isUsable() || record.facts.kind != kind) {
        record = Record();
        record.facts.kind = kind;
        record.facts.made = stamp;
    }
    record.facts.lent = stamp;
    const bool isInRender = record.render != 0 && !record.isPastRender;
    record.isShared = isInRender && (record.isShared || record.render != stamp.render);
    record.render = stamp.render;
    record.isPastRender = false;
    record.isUnretained = false;
    ++record.loans;
}

void HandleTable::takeBack(const void* handle) {
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    if (found == shard.records.end() || found->second.loans == 0) return;
    Record& record = found->second;
    if (--record.loans > 0 || record.isUsable()) return;
    bury(record, CallStamp());
}

void HandleTable::moveToHost(const void* handle) {
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    if (found == shard.records.end() || found->second.references.empty()) return;
    found->second.references.pop_back();
    ++found->second.hostReferences;
}

const void* HandleTable::borrow(const void* handle, const void* original, std::size_t size,
                                bool isText, const CallStamp& stamp) {
    if (!original || size == 0 || size > kMostCopiedBytes) return original;
    Shard& shard = shardOf(handle);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    const auto found = shard.records.find(handle);
    if (found == shard.records.end() || !found->second.isUsable()) return original;
    for (const BorrowedCopy& copy : found->second.copies) {
        const bool isSame = copy.original == original && copy.size == size &&
                            std::memcmp(copy.bytes.get(), original, size) == 0;
        if (isSame) return copy.bytes.get();
    }
    BorrowedCopy copy;
    copy.original = original;
    copy.size = size;
    copy.isText = isText;
    copy.borrowed = stamp;
    copy.bytes = std::make_unique<unsigned char[]>(size);
    std::memcpy(copy.bytes.get(), original, size);
    found->second.copies.push_back(std::move(copy));
    return found->second.copies.back().bytes.get();
}

void HandleTable::collectLeaks(Record& record, std::optional<int> render,
                               std::vector<LeakedHandle>& leaks) {
    const auto isMeant = [&](int each) { return render ? each == *render : each != kToldOf; };
    for (CallStamp& reference : record.references) {
        if (!isMeant(reference.render)) continue;
        leaks.push_back({record.facts, reference});
        reference.render = kToldOf;
    }
    if (!record.isUnretained || record.isLeakToldOf || !isMeant(record.facts.made.render)) return;
    leaks.push_back({record.facts, CallStamp()});
    record.isLeakToldOf = true;
}

std::vector<LeakedHandle> HandleTable::endRender(int render, bool isLast) {
    std::vector<LeakedHandle> leaks;
    for (Shard& shard : shards) {
        const std::lock_guard<std::mutex> lock(shard.mutex);
        for (auto& [handle, record] : shard.records) {
            const bool isShared = record.isShared || record.facts.kind == HandleKind::Attribute;
            if (isShared && !isLast) continue;
            collectLeaks(record, render, leaks);
            const bool isOfHost = record.loans > 0 || record.hostReferences > 0;
            const bool isOfRender = record.render == render || record.isShared;
            if (isOfRender && !isOfHost) record.isPastRender = true;
        }
    }
    return leaks;
}

std::vector<LeakedHandle> HandleTable::findLeaks() {
    std::vector<LeakedHandle> leaks;
    for (Shard& shard : shards) {
        const std::lock_guard<std::mutex> lock(shard.mutex);
        for (auto& [handle, record] : shard.records)
            collectLeaks(record, std::nullopt, leaks);
    }
    return leaks;
}

} // namespace TELLAR
