#ifndef OXTELLARSDK_CONTAINER_H
#define OXTELLARSDK_CONTAINER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "AttributeNode.h"
#include "ContainerLayout.h"
#include "FileBuffer.h"
#include "ThreadSlot.h"

namespace OxAttribute {

/// An open attribute file, whose values are read where they lie.
///
/// Trust: the header, the footer and the table of block checksums are checked when the file is
/// opened. A block is compared with its checksum before its first byte is used. A value is checked
/// before the first handle to it is given out: its extents, its names, and its place in the tree.
/// Groups form a strict tree: each lies in a region that only its parent owns, and depths decrease
/// downwards. So no file can make a reader loop, recurse without end, or see more groups than the
/// file has bytes.
///
/// Files that change while they are open: see FileAccess. The container does not look again at
/// bytes that it has fetched and checked.
///
/// Lifetime: every handle to a value counts as a reference. Each thread counts in two counters that
/// only it writes, so threads that read one file do not wait for each other. Collect() adds the
/// counters up and closes the files without handles. It runs whenever a file is opened and whenever
/// an op graph is released.
class Container {
public:
    /// Takes the buffer and returns the root value with one reference. `name` is for errors.
    /// Throws TellarError unless it is an undamaged file of the wanted kind.
    static Attribute Open(FileBuffer buffer, const StreamName& name, ContainerKind wanted);

    /// Closes all files to which no handle is left.
    static void Collect();

    static Container* Of(const Node* node) {
        return reinterpret_cast<Container* const*>(FileBase(node))[-1];
    }

    ~Container();

    void retain() noexcept { count(&Slot::taken, std::memory_order_relaxed); }
    void release() noexcept { count(&Slot::dropped, std::memory_order_release); }

    /// The checked child of a checked group, without a reference.
    const Node* child(const Node* group, std::uint64_t index) {
        const Node* known = checkedAlready(Entries<FileEntry>(group)[index]);
        return known ? known : checkedChild(group, index);
    }

    /// The child of a checked group; null if the child has not been checked yet. Always inline,
    /// although compilers find it called from too many places: it is the most frequent call of all.
    [[gnu::always_inline]] const Node* checkedAlready(const FileEntry& entry) const {
        if (!isChecked(entry.childUnit)) return nullptr;
        const auto* node = reinterpret_cast<const Node*>(base + entry.childUnit * kUnitBytes);
        // A value that was checked as a group of another parent must not be used as a number.
        return node->type == entry.childType ? node : nullptr;
    }

    /// The bytes at a unit, compared with their checksums. Nothing is known of what they hold. Null
    /// when they lie outside of the values.
    const char* verifiedBytes(std::uint64_t unit, std::uint64_t count) {
        const std::uint64_t begin = unit * kUnitBytes;
        if (begin > footer.tableOffset || count > footer.tableOffset - begin) return nullptr;
        verifyRange(begin, begin + count);
        return base + begin;
    }

    /// True for a file so large that reading all of it must be avoided.
    bool isLarge() const { return bytes > FileBuffer::kLargeBytes; }

    const Hash& identity() const { return contentIdentity; }

    /// Unique among the containers of this process, including closed ones; never 0.
    std::uint64_t number() const { return ownNumber; }

    /// The hash of a value of this file, by `compute` unless it is cached. The cache has a fixed
    /// size and lives as long as the container; a hash stays until another one needs its place.
    template <typename Compute>
    Hash cachedHash(const Node* node, Compute compute) {
        constexpr std::uint64_t kCheapBytes = 4096;
        if (!IsGroup(node) && NumberOfElements(node) * ElementBytes(node->type) < kCheapBytes)
            return compute();
        Hash hash;
        if (findHash(node->unit, hash)) return hash;
        hash = compute();
        keepHash(node->unit, hash);
        return hash;
    }

private:
    /// Where a value stands, and what its parent says of it.
    struct Place {
        std::uint64_t unit;
        std::int8_t type;        // -1 for the root, whose type is not known
        std::uint64_t firstUnit; // start of the region that groups may use
        int maximumDepth;        // depth limit of groups
    };

    /// References taken and dropped by one thread. A cache line each, so that threads do not share
    /// what they write.
    struct alignas(64) Slot {
        std::atomic<std::uint64_t> taken{0};
        std::atomic<std::uint64_t> dropped{0};
    };

    struct CachedHash {
        std::uint64_t unit = 0; // 0 in an unused entry, because no value stands there
        Hash hash;
    };

    struct FreeDeleter {
        void operator()(void* memory) const;
    };

    Container(FileBuffer buffer, StreamName name);

    Attribute root();
    bool isUnused() const;
    bool findHash(std::uint64_t unit, Hash& hash);
    void keepHash(std::uint64_t unit, const Hash& hash);
    void fetch(std::uint64_t begin, std::uint64_t end) const;
    void verifyRange(std::uint64_t begin, std::uint64_t end);
    void verifyBlock(std::uint64_t block);
    void forget(std::uint64_t begin, std::uint64_t end) noexcept;

    [[noreturn]] void refuse(const std::string& why) const;
    /// Says that the file has changed if it has, because that explains the damage.
    [[noreturn]] void refuseDamage(const std::string& what) const;
    [[noreturn]] void damaged(const std::string& what, std::uint64_t unit) const;

    // The checks, in ContainerChecks.cpp.
    void checkFrame();
    void checkTable();
    void checkKind(ContainerKind wanted) const;
    const Node* checkedChild(const Node* group, std::uint64_t index);
    const Node* checked(const Place& place);
    void checkNode(const Place& place);
    void checkData(const Node* node);
    void checkTimes(const Node* node);
    void checkStrings(const Node* node, std::uint64_t valuesOffset);
    void checkGroup(const Node* node, const Place& place);
    void checkNames(const Node* node);
    void checkNameTexts(const Node* node);
    void checkFewNamesDiffer(const Node* node) const;
    void checkSortedNamesDiffer(const Node* node) const;
    std::atomic<const Node*>& lookalikeOf(const Node* group);
    std::uint64_t endOf(const Node* node, std::uint64_t offset, std::uint64_t elementBytes,
                        std::uint64_t elements) const;

    /// The unit must lie inside: it is that of the root, or of a child of a checked group.
    bool isChecked(std::uint64_t unit) const {
        return (checkedUnits.get()[unit / 64].load(std::memory_order_acquire) >> unit % 64 & 1) !=
               0;
    }

    void count(std::atomic<std::uint64_t> Slot::*counter, std::memory_order order) noexcept {
        const std::uint32_t index = ThreadSlot::Current();
        std::atomic<std::uint64_t>& counted = slots[index].*counter;
        if (index == ThreadSlot::kShared)
            counted.fetch_add(1, order);
        else
            counted.store(counted.load(std::memory_order_relaxed) + 1, order);
    }

    FileBuffer buffer;
    const StreamName name;
    const std::uint64_t ownNumber;
    const char* base;
    std::uint64_t bytes;
    ContainerHeader header;
    ContainerFooter footer;
    Hash contentIdentity;
    std::unique_ptr<std::atomic<std::uint8_t>[]> verifiedBlocks;
    // A hash's index is its value's unit modulo the size. Made when the first hash is kept.
    std::unique_ptr<std::array<CachedHash, 1024>> hashes;
    std::mutex hashLock; // guards `hashes`
    // Each lock guards every sixteenth block, because only one thread may fetch a block.
    std::array<std::mutex, 16> fetchLocks;
    // Short groups whose names were checked: the groups of a scene look alike.
    std::array<std::atomic<const Node*>, 64> lookalikes = {};
    // One bit for each unit. The system fills it with zeros on first use.
    std::unique_ptr<std::atomic<std::uint64_t>, FreeDeleter> checkedUnits;
    std::array<Slot, ThreadSlot::kCount> slots;
};

} // namespace OxAttribute

#endif
