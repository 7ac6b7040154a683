#include "FileMemory.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include <OxTellarSDK/MemoryBudget.h>

namespace OxAttribute {

class MappedFilesCache final : public OxTellarMemory::Cache {
public:
    static MappedFilesCache& Get() {
        static auto* const cache = new MappedFilesCache;
        return *cache;
    }

    void enter(MappedFileMemory* file) {
        const std::lock_guard<std::mutex> guard(lock);
        files.push_back(file);
    }

    void leave(MappedFileMemory* file) {
        const std::lock_guard<std::mutex> guard(lock);
        files.erase(std::find(files.begin(), files.end(), file));
    }

    void setForget(MappedFileMemory& file, MappedFileMemory::Forget function) {
        const std::lock_guard<std::mutex> guard(lock);
        file.forget = std::move(function);
    }

    /// Gives back all that is so old, also beyond what is wanted: it costs little to read it again.
    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t) override {
        const std::lock_guard<std::mutex> guard(lock);
        std::uint64_t freed = 0;
        for (MappedFileMemory* file : files)
            freed += file->giveBack(usedBefore);
        return freed;
    }

    /// Once in each tick, because nothing gets older within one.
    void relieve(std::uint32_t tick) noexcept {
        if (relievedIn.exchange(tick, std::memory_order_relaxed) != tick)
            OxTellarMemory::RelieveMemoryOf(*this);
    }

private:
    MappedFilesCache() : Cache("mapped files") {}

    std::atomic<std::uint32_t> relievedIn{0};

    // Guards `files` and their `forget`, and keeps them mapped while pages are given back.
    std::mutex lock;
    std::vector<MappedFileMemory*> files;
};

MappedFileMemory::MappedFileMemory(char* start, std::uint64_t bytes)
    : start(start), bytes(bytes), runCount((bytes + kRunBytes - 1) / kRunBytes),
      runs(std::make_unique<Run[]>(runCount)) {
    MappedFilesCache::Get().enter(this);
}

MappedFileMemory::~MappedFileMemory() {
    MappedFilesCache& cache = MappedFilesCache::Get();
    cache.leave(this);
    for (std::size_t i = 0; i < runCount; ++i)
        if (const std::uint32_t counted = runs[i].countedBytes) cache.removed(counted);
}

void MappedFileMemory::use(std::uint64_t begin, std::uint64_t end) noexcept {
    const std::uint32_t tick = OxTellarMemory::CurrentTick();
    for (std::uint64_t at = begin; at < end;) {
        const std::uint64_t next = std::min(end, (at / kRunBytes + 1) * kRunBytes);
        Run& run = runs[at / kRunBytes];
        run.usedIn.store(tick, std::memory_order_relaxed);
        const auto more = static_cast<std::uint32_t>(next - at);
        at = next;
        // Damaged bytes are read again and again.
        if (run.countedBytes.load(std::memory_order_relaxed) >= kRunBytes) continue;
        const std::uint32_t before = run.countedBytes.fetch_add(more, std::memory_order_relaxed);
        MappedFilesCache::Get().added(more, before == 0 ? 1 : 0);
    }
    MappedFilesCache::Get().relieve(tick);
}

void MappedFileMemory::onGiveBack(Forget function) {
    MappedFilesCache::Get().setForget(*this, std::move(function));
}

/// Neighbours go together, also those that were given back before: their pages may have been
/// touched again.
std::uint64_t MappedFileMemory::giveBack(std::uint32_t usedBefore) {
    MappedFilesCache& cache = MappedFilesCache::Get();
    std::uint64_t freed = 0;
    std::size_t first = 0;
    for (std::size_t i = 0; i < runCount; ++i) {
        if (runs[i].usedIn.load(std::memory_order_relaxed) >= usedBefore) {
            release(first, i);
            first = i + 1;
            continue;
        }
        const std::uint32_t counted = runs[i].countedBytes.exchange(0, std::memory_order_relaxed);
        if (counted == 0) continue;
        if (forget) forget(i * kRunBytes, std::min(bytes, (i + 1) * kRunBytes));
        cache.dropped(counted);
        freed += counted;
    }
    release(first, runCount);
    return freed;
}

void MappedFileMemory::release(std::size_t first, std::size_t end) const noexcept {
    if (first >= end) return;
    const std::uint64_t begin = first * kRunBytes;
#ifndef _WIN32
    madvise(start + begin, std::min(bytes, end * kRunBytes) - begin, MADV_DONTNEED);
#endif
}

} // namespace OxAttribute
