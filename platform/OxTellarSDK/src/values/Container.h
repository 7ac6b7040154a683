#ifndef OXTELLARSDK_CONTAINER_H
#define OXTELLARSDK_CONTAINER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "AttributeNode.h"
#include "FileBuffer.h"
#include "ThreadSlot.h"

namespace OxAttribute {

constexpr std::uint64_t kBlockBytes = 65536;
constexpr std::uint32_t kContainerVersion = 1;
constexpr char kContainerMagic[8] = {'O', 'x', 'A', 't', 't', 'r', '\x1a', '\n'};
constexpr char kContainerEndMagic[8] = {'O', 'x', 'A', 't', 't', 'E', 'n', 'd'};

/// Children of one group whose names have one hash. Chance gives it to a few even among millions;
/// only malice gives it to many, to make comparing them all take forever.
constexpr std::uint64_t kMaximumEqualHashes = 32;

enum class ContainerKind : std::uint32_t { AttributeStream = 1, OpFile = 2 };

struct ContainerHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t kind;
    std::uint8_t reserved[48]; // 0
};
static_assert(sizeof(ContainerHeader) == 64, "part of the file format");

struct ContainerFooter {
    std::uint64_t tableOffset; // end of the values, start of the block checksums
    std::uint64_t fileBytes;
    std::uint32_t rootUnit;
    std::uint32_t reserved; // 0
    std::uint64_t tableChecksum;
    char magic[8];
    std::uint64_t footerChecksum; // of the bytes before it
};
static_assert(sizeof(ContainerFooter) == 48, "part of the file format");

/// An open attribute file: values are read where they lie.
///
/// Trust: header, footer and the table of block checksums are checked when the file is
/// opened. A block of values is compared with its checksum before the first byte of it is
/// used, a value before the first handle to it is given out: its extents, its names, its
/// place in the tree. Groups form a strict tree (each lies in a region that belongs to its
/// parent alone) and get shallower downwards, so no file can make a reader loop, recurse
/// without end or see more groups than the file has bytes.
///
/// Files that change while they are open: see FileAccess. What this class has fetched and checked
/// is not looked at again.
///
/// Life: every handle to a value counts. Counts are kept per thread, as two counters that
/// only their thread writes, so that threads reading one file do not wait for each other;
/// Collect() adds them up and closes the files that nobody holds. It runs whenever a file is
/// opened and whenever an op graph is let go.
class Container {
public:
    /// Takes the buffer and returns the root value with one reference. `name` is for errors.
    /// Throws std::runtime_error for anything but an undamaged file of the kind wanted.
    static Attribute Open(FileBuffer buffer, const std::string& name, ContainerKind wanted);

    /// Closes all files to which no handle is left.
    static void Collect();

    static Container* Of(const Node* node) {
        return reinterpret_cast<Container* const*>(FileBase(node))[-1];
    }

    void retain() noexcept { count(&Slot::taken, std::memory_order_relaxed); }
    void release() noexcept { count(&Slot::dropped, std::memory_order_release); }

    /// The checked child of a checked group, without a reference.
    const Node* child(const Node* group, std::uint64_t index) {
        const Node* known = checkedAlready(Entries<FileEntry>(group)[index]);
        return known ? known : checkedChild(group, index);
    }
    /// The child of a checked group; null when it was not checked yet. Inline even where compilers
    /// think it is called too often for that: nothing is called more.
    [[gnu::always_inline]] const Node* checkedAlready(const FileEntry& entry) const {
        if (!isChecked(entry.childUnit)) return nullptr;
        const auto* node = reinterpret_cast<const Node*>(base + entry.childUnit * kUnitBytes);
        // What was checked as a group of another parent must not come in again as a number.
        return node->type == entry.childType ? node : nullptr;
    }

    /// Whether the file is so large that reading all of it must be avoided.
    bool isLarge() const { return bytes > FileBuffer::kLargeBytes; }
    const Hash& identity() const { return contentIdentity; }
    /// Of no other container of this process, earlier ones included; never 0.
    std::uint64_t number() const { return ownNumber; }

    /// The hash of a value of this file: what `compute` gives when it is not known. A fixed number
    /// of hashes is kept, each until another value needs its place, for as long as the file is
    /// open.
    template <typename Compute>
    Hash keptHash(const Node* node, Compute compute) {
        constexpr std::uint64_t kCheapBytes = 4096;
        if (!IsGroup(node) && NumberOfElements(node) * ElementBytes(node->type) < kCheapBytes)
            return compute();
        Hash hash;
        if (findHash(node->unit, hash)) return hash;
        hash = compute();
        keepHash(node->unit, hash);
        return hash;
    }

    ~Container();

private:
    Container(FileBuffer buffer, std::string name);

    Attribute root();
    void checkFrame();
    void checkKind(ContainerKind wanted) const;
    [[noreturn]] void refuse(const std::string& why) const;
    bool findHash(std::uint64_t unit, Hash& hash);
    void keepHash(std::uint64_t unit, const Hash& hash);
    void fetch(std::uint64_t begin, std::uint64_t end) const;
    void verifyRange(std::uint64_t begin, std::uint64_t end);
    void verifyBlock(std::uint64_t block);
    [[noreturn]] void damaged(const std::string& what, std::uint64_t unit) const;

    struct Place {
        std::uint64_t unit;
        std::int8_t type;        // what the parent's entry says
        std::uint64_t firstUnit; // groups: nothing of theirs lies before it
        int maximumDepth;        // groups
    };
    /// `unit` lies inside: that of the root, or of a child of a checked group.
    bool isChecked(std::uint64_t unit) const {
        return (checkedUnits.get()[unit / 64].load(std::memory_order_acquire) >> unit % 64 & 1) !=
               0;
    }
    const Node* checkedChild(const Node* group, std::uint64_t index);
    const Node* checked(const Place& place);
    void checkNode(const Place& place);
    void checkData(const Node* node);
    void checkStrings(const Node* node, std::uint64_t valuesOffset);
    void checkGroup(const Node* node, const Place& place);
    void checkNames(const Node* node);
    std::atomic<const Node*>& lookalikeOf(const Node* group);
    static bool hasNamesOf(const Node* group, const Node* known);
    std::uint64_t endOf(const Node* node, std::uint64_t offset, std::uint64_t elementBytes,
                        std::uint64_t elements) const;

    bool isUnused() const;

    // One line each, so that two threads never write to the same one.
    struct alignas(64) Slot {
        std::atomic<std::uint64_t> taken{0};
        std::atomic<std::uint64_t> dropped{0};
    };

    void count(std::atomic<std::uint64_t> Slot::*counter, std::memory_order order) noexcept {
        const std::uint32_t index = ThreadSlot::Current();
        std::atomic<std::uint64_t>& counted = slots[index].*counter;
        if (index == ThreadSlot::kShared)
            counted.fetch_add(1, order);
        else
            counted.store(counted.load(std::memory_order_relaxed) + 1, order);
    }

    FileBuffer buffer;
    std::string name;
    const std::uint64_t ownNumber;
    const char* base;
    std::uint64_t bytes;
    ContainerHeader header;
    ContainerFooter footer;
    Hash contentIdentity;
    std::unique_ptr<std::atomic<std::uint8_t>[]> verifiedBlocks;
    struct KeptHash {
        std::uint64_t unit = 0; // at which no value stands: nothing is kept
        Hash hash;
    };
    // The place of a hash depends on the value's unit alone. Made when the first one is kept.
    std::unique_ptr<std::array<KeptHash, 1024>> keptHashes;
    std::mutex hashLock; // guards them
    // Each guards every sixteenth block, because a block must be fetched by one thread only.
    std::array<std::mutex, 16> fetchLocks;
    struct FreeDeleter {
        void operator()(void* memory) const;
    };
    // Short groups whose names were checked: the groups of a scene look alike.
    std::array<std::atomic<const Node*>, 64> lookalikes = {};
    // One bit a unit. Left to the system to fill with zeros where it is never touched.
    std::unique_ptr<std::atomic<std::uint64_t>, FreeDeleter> checkedUnits;
    std::array<Slot, ThreadSlot::kCount> slots;
};

} // namespace OxAttribute

#endif
