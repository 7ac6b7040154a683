#ifndef OXTELLARSDK_CONTAINER_H
#define OXTELLARSDK_CONTAINER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "AttributeNode.h"
#include "CheckedUnits.h"
#include "ContainerLayout.h"
#include "ContainerMap.h"
#include "DataView.h"
#include "FileBuffer.h"
#include "Shape.h"
#include "ThreadSlot.h"

namespace OxAttribute {

/// An open attribute file, whose values are read where they lie.
///
/// Trust: the header, the footer and the table of block checksums are checked when the file is
/// opened. A block is compared with its checksum before its first byte is used. A value is checked
/// before the first handle to it is given out: its extents, its names, and its place in the tree.
/// Groups form a strict tree: each lies in a region that only its parent owns, and depths decrease
/// downwards. So no file can make a reader loop, recurse without end, or see more groups than the
/// file has bytes. A shape is checked once for all groups that have it.
///
/// Files that change while they are open: see FileAccess. The container does not look again at the
/// checksums of bytes that it has checked. But every number that it reads from a value is compared
/// with the end of the values, or the value's first word with its shape, each time: bytes of a
/// mapped file that change give other values or an error, no address outside of the file. Short
/// values may reach into the bytes that a FileBuffer has behind its end.
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

    /// The container that a value lies in; null for a value in memory.
    static Container* Of(const Node* node) noexcept { return ContainerMap::Find(node); }

    ~Container();

    void retain() noexcept { count(&Slot::taken, std::memory_order_relaxed); }
    void release() noexcept { count(&Slot::dropped, std::memory_order_release); }

    /// The shape of a checked group; null if it has none.
    const Shape* shapeOf(const Node* group) const noexcept {
        const std::uint32_t number = group->word >> Node::kPayload;
        if (!group->isShort() || number >= footer.shapeCount) return nullptr;
        return shapes[number].load(std::memory_order_acquire);
    }

    // The group that these functions get must have been checked.

    std::uint64_t childCount(const Node* group) const noexcept;
    /// Empty when there is no such child.
    std::string_view childName(const Node* group, std::uint64_t index) const noexcept;
    /// The index of the child, or -1.
    std::int64_t findChild(const Node* group, std::string_view name) const noexcept;
    /// All names, as one string attribute in memory. Invalid for a group without children or with
    /// a shape, and where the names have changed since they were checked.
    Attribute copyNames(const Node* group) const;
    std::uint32_t depthOf(const Node* group) const noexcept;

    /// The checked child, without a reference.
    const Node* child(const Node* group, std::uint64_t index) {
        const Shape* shape = shapeOf(group);
        if (!shape) return wideChild(group, index);
        if (index >= shape->count) missing(group);
        return childAt(*shape, shape->children[index], group);
    }

    /// The checked child with this name, without a reference; null when there is none. Looks at
    /// index `hint` first, unless the name is empty.
    const Node* childNamed(const Node* group, std::string_view name, std::uint64_t hint);

    /// The child, or a value further below, that stands where `entry` says.
    const Node* childAt(const Shape& shape, const Shape::Child& entry, const Node* group) {
        const char* const place =
            entry.isShared ? base + entry.offset : Bytes(group) - entry.offset;
        if (static_cast<std::uint64_t>(Bytes(group) - base) < shape.extentBytes) missing(group);
        const auto* const node = reinterpret_cast<const Node*>(place);
        if (node->word != entry.word) missing(node);
        if (entry.check != Shape::Check::Word) checkMore(entry, node);
        return node;
    }

    /// A child that all groups of a shape share.
    const Node* sharedAt(const Shape::Child& entry) const {
        return reinterpret_cast<const Node*>(base + entry.offset);
    }
    /// True if the values begin at least so many bytes in front of this one.
    bool hasInFront(const Node* node, std::uint64_t count) const {
        return static_cast<std::uint64_t>(Bytes(node) - base) >= count;
    }

    /// The view of a full number or string.
    DataView fullView(const Node* node) const noexcept;

    /// Units from the start of the file.
    std::uint64_t unitOf(const Node* node) const {
        return static_cast<std::uint64_t>(Bytes(node) - base) / kUnitBytes;
    }

    /// Throws if bytes of the file were lost, so that something may only seem not to be in it.
    void demandPresent() const {
        if (buffer.isLost()) refuseDamage("bytes of it were lost");
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
        if (!IsGroup(node) && ViewOf(node).elements() * ElementBytes(node->type()) < kCheapBytes)
            return compute();
        const std::uint64_t unit = unitOf(node);
        Hash hash;
        if (findHash(unit, hash)) return hash;
        hash = compute();
        keepHash(unit, hash);
        return hash;
    }

private:
    /// Where a value stands, and what its parent says of it.
    struct Place {
        std::uint64_t unit;
        int type;                // -1 for the root, whose type is not known
        std::uint64_t firstUnit; // start of the region that groups may use
        std::uint32_t maximumDepth;
    };

    /// A group without a shape, its numbers compared with the end of the values.
    struct Wide {
        std::uint32_t depth = 0;
        std::uint32_t namesUnit = 0;
        std::uint32_t count = 0;
        const std::uint32_t* units = nullptr;
        const std::uint8_t* types = nullptr;
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
    /// For a value that is not what its parent says.
    [[noreturn]] void missing(const Node* node) const;

    const Node* nodeAt(std::uint64_t unit) const {
        return reinterpret_cast<const Node*>(base + unit * kUnitBytes);
    }
    std::uint64_t units() const { return footer.tableOffset / kUnitBytes; }

    Wide wide(const Node* group) const noexcept;
    const Node* wideChild(const Node* group, std::uint64_t index);
    const Node* wideChild(const Node* group, const Wide& parent, std::uint64_t index);
    std::int64_t findWide(const Wide& parent, const NamesRecord& names,
                          std::string_view name) const noexcept;
    NamesRecord names(std::uint32_t unit) const noexcept;
    std::string_view nameAt(const NamesRecord& names, std::uint64_t index) const noexcept;
    std::int64_t findSorted(const NamesRecord& names, std::string_view name) const noexcept;

    // The checks, in ContainerChecks.cpp and GroupChecks.cpp.
    void checkFrame();
    void checkTable();
    void checkKind(ContainerKind wanted) const;
    const Node* checked(const Place& place);
    const Node* checkedWideChild(const Node* group, const Wide& parent, std::uint64_t index,
                                 std::uint32_t unit);
    void checkMore(const Shape::Child& entry, const Node* node);
    void checkNode(const Place& place);
    void checkData(const Node* node);
    void checkShort(const Node* node);
    void checkShortWord(std::uint32_t word, std::uint64_t unit) const;
    void checkFull(const Node* node);
    void checkTimes(const FullNode& node, std::uint32_t timeCount) const;
    void checkStrings(const FullNode& node, std::uint64_t elements, std::uint64_t valuesOffset);
    void checkShaped(const Node* node, const Place& place);
    void checkWide(const Node* node, const Place& place);
    const Shape& checkedShape(std::uint32_t number, std::uint32_t maximumDepth);
    std::unique_ptr<Shape> readShape(std::uint32_t number, std::uint32_t maximumDepth);
    std::uint64_t checkShapeGroup(Shape& shape, Shape::Child& child, std::uint32_t number,
                                  std::uint64_t groupsBegin);
    void checkSharedChild(Shape::Child& child);
    void checkShapeValue(Shape& shape, Shape::Child& child, std::uint64_t unit);
    void align(Shape& shape, std::uint64_t remainder, std::uint64_t unit) const;
    NamesRecord checkedNames(std::uint32_t unit, std::uint64_t count, std::uint64_t user);
    void checkNameTexts(const NamesRecord& names, std::uint64_t user);
    void checkFewNamesDiffer(const NamesRecord& names, std::uint64_t user) const;
    void checkSortedNamesDiffer(const NamesRecord& names, std::uint64_t user) const;
    std::uint64_t endOf(std::uint64_t user, std::uint64_t offset, std::uint64_t elementBytes,
                        std::uint64_t elements) const;

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
    bool isMapped = false; // in the ContainerMap
    ContainerHeader header;
    ContainerFooter footer;
    Hash contentIdentity;
    // A copy, so that it stays as it is when the file changes.
    std::unique_ptr<std::uint64_t[]> checksums;
    std::unique_ptr<std::atomic<std::uint8_t>[]> verifiedBlocks;
    // A hash's index is its value's unit modulo the size. Made when the first hash is kept.
    std::unique_ptr<std::array<CachedHash, 1024>> hashes;
    std::mutex hashLock; // guards `hashes`
    // Each lock guards every sixteenth block, because only one thread may fetch a block.
    std::array<std::mutex, 16> fetchLocks;
    // The shapes that were checked, by their numbers.
    std::unique_ptr<std::atomic<const Shape*>[]> shapes;
    // Units of names that were checked, because many groups have the same.
    std::array<std::atomic<std::uint32_t>, 64> knownNames = {};
    CheckedUnits checkedUnits;
    std::array<Slot, ThreadSlot::kCount> slots;
};

} // namespace OxAttribute

#endif
