#include "Container.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <stdexcept>
#include <vector>

#include "BlockHash.h"
#include "ThreadSlot.h"

namespace OxAttribute {

namespace {

// All open files, so that one file is mapped once and closed when nobody holds it.
struct Registry {
    std::mutex lock;
    std::vector<Container*> containers;
};

/// Never destroyed. In memory of its own: the end of a runtime asks for it, and must not fail.
Registry& GetRegistry() {
    alignas(Registry) static unsigned char memory[sizeof(Registry)];
    static Registry* const registry = new (memory) Registry;
    return *registry;
}

std::uint64_t NextNumber() {
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

// As much as one page of marks, one bit for a unit, stands for.
constexpr std::uint64_t kMarkedAheadBytes = 4096 * 8 * kUnitBytes;

bool IsKnownType(int type) {
    return type >= kAttributeTypeNull && type <= kAttributeTypeGroup;
}

} // namespace

Container::Container(FileBuffer fileBuffer, std::string fileName)
    : buffer(std::move(fileBuffer)), name(std::move(fileName)), ownNumber(NextNumber()),
      base(buffer.data()), bytes(buffer.size()), header{}, footer{} {}

Container::~Container() = default;

void Container::FreeDeleter::operator()(void* memory) const {
    std::free(memory);
}

Attribute Container::Open(FileBuffer buffer, const std::string& name, ContainerKind wanted) {
    Registry& registry = GetRegistry();
    Collect();
    const std::lock_guard<std::mutex> guard(registry.lock);
    for (Container* container : registry.containers) {
        if (!buffer.isOpen() || !(container->buffer.state() == buffer.state())) continue;
        container->checkKind(wanted);
        return container->root();
    }

    std::unique_ptr<Container> container(new Container(std::move(buffer), name));
    container->checkFrame();
    container->checkKind(wanted);
    reinterpret_cast<Container**>(container->buffer.data())[-1] = container.get();
    if (!container->isLarge()) container->verifyRange(0, container->footer.tableOffset);
    Attribute root = container->root();
    registry.containers.push_back(container.get());
    container.release();
    return root;
}

Attribute Container::root() {
    const Node* node =
        checked({footer.rootUnit, -1, sizeof(ContainerHeader) / kUnitBytes, kMaxGroupDepth});
    retain();
    return Attribute::CreateAndSteal(const_cast<Node*>(node));
}

void Container::Collect() {
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto unused =
        std::partition(registry.containers.begin(), registry.containers.end(),
                       [](const Container* container) { return !container->isUnused(); });
    std::for_each(unused, registry.containers.end(),
                  [](Container* container) { delete container; });
    registry.containers.erase(unused, registry.containers.end());
}

// A handle is only ever copied from a living one. So whoever sees that a handle was dropped
// also sees that every handle copied from it was taken: as long as the drops are read first,
// the sums can only be equal when no handle is left, and then none can come to be, because
// new ones need the registry's lock.
bool Container::isUnused() const {
    std::uint64_t dropped = 0;
    for (const Slot& slot : slots)
        dropped += slot.dropped.load(std::memory_order_acquire);
    std::uint64_t taken = 0;
    for (const Slot& slot : slots)
        taken += slot.taken.load(std::memory_order_acquire);
    return taken == dropped;
}

void Container::damaged(const std::string& what, std::uint64_t unit) const {
    throw std::runtime_error(name + " is damaged: " + what + " at byte " +
                             std::to_string(unit * kUnitBytes));
}

void Container::refuse(const std::string& why) const {
    throw std::runtime_error(name + " " + why);
}

void Container::checkKind(ContainerKind wanted) const {
    if (header.kind == static_cast<std::uint32_t>(wanted)) return;
    if (header.kind == static_cast<std::uint32_t>(ContainerKind::OpFile))
        refuse("is a serialised op file, not an attribute stream");
    if (header.kind == static_cast<std::uint32_t>(ContainerKind::AttributeStream))
        refuse("is an attribute stream, not a serialised op file");
    refuse("is damaged: it is of no known kind");
}

void Container::checkFrame() {
    fetch(0, std::min(bytes, std::uint64_t(sizeof header)));
    if (bytes < sizeof header || std::memcmp(base, kContainerMagic, sizeof kContainerMagic) != 0)
        refuse("is no attribute file");
    std::memcpy(&header, base, sizeof header);
    if (header.version != kContainerVersion)
        refuse("has format version " + std::to_string(header.version) +
               ", of which this program knows nothing");
    if (bytes < sizeof header + sizeof footer) refuse("is damaged: it ends early");

    fetch(bytes - sizeof footer, bytes);
    std::memcpy(&footer, base + bytes - sizeof footer, sizeof footer);
    if (std::memcmp(footer.magic, kContainerEndMagic, sizeof kContainerEndMagic) != 0)
        refuse("is damaged: it ends early, or other bytes follow it");
    if (XXH3_64bits(&footer, offsetof(ContainerFooter, footerChecksum)) != footer.footerChecksum)
        refuse("is damaged: its footer does not have the checksum that it states");
    if (footer.fileBytes != bytes) refuse("is damaged: it is not as long as it states");

    if (footer.tableOffset < sizeof header || footer.tableOffset > bytes ||
        footer.tableOffset % kUnitBytes != 0 || footer.reserved != 0 ||
        footer.rootUnit >= footer.tableOffset / kUnitBytes)
        refuse("is damaged: its parts do not fit together");
    const std::uint64_t blocks = (footer.tableOffset + kBlockBytes - 1) / kBlockBytes;
    if (footer.tableOffset + blocks * 8 + sizeof footer != bytes)
        refuse("is damaged: its parts do not fit together");
    fetch(footer.tableOffset, bytes);
    const char* table = base + footer.tableOffset;
    if (XXH3_64bits(table, blocks * 8) != footer.tableChecksum)
        refuse("is damaged: its checksums do not have the checksum that it states");

    const XXH128_hash_t content = XXH3_128bits_withSeed(table, blocks * 8, footer.rootUnit);
    contentIdentity.words[0] = content.high64;
    contentIdentity.words[1] = content.low64;
    verifiedBlocks = std::make_unique<std::atomic<std::uint8_t>[]>(blocks);
    checkedUnits.reset(static_cast<std::atomic<std::uint64_t>*>(
        std::calloc(footer.tableOffset / kUnitBytes / 64 + 1, 8)));
    if (!checkedUnits) throw std::bad_alloc();
}

bool Container::findHash(std::uint64_t unit, Hash& hash) {
    const std::lock_guard<std::mutex> guard(hashLock);
    if (!keptHashes) return false;
    const KeptHash& kept = (*keptHashes)[unit % keptHashes->size()];
    if (kept.unit != unit) return false;
    hash = kept.hash;
    return true;
}

void Container::keepHash(std::uint64_t unit, const Hash& hash) {
    const std::lock_guard<std::mutex> guard(hashLock);
    if (!keptHashes) keptHashes = std::make_unique<std::array<KeptHash, 1024>>();
    (*keptHashes)[unit % keptHashes->size()] = {unit, hash};
}

void Container::fetch(std::uint64_t begin, std::uint64_t end) const {
    std::string reason;
    if (!buffer.fetch(begin, end, reason)) refuse("can no longer be read: " + reason);
}

void Container::verifyRange(std::uint64_t begin, std::uint64_t end) {
    for (std::uint64_t block = begin / kBlockBytes; block * kBlockBytes < end; ++block)
        if (verifiedBlocks[block].load(std::memory_order_acquire) == 0) verifyBlock(block);
}

void Container::verifyBlock(std::uint64_t block) {
    const std::uint64_t begin = block * kBlockBytes;
    const std::uint64_t end = std::min(begin + kBlockBytes, footer.tableOffset);
    std::unique_lock<std::mutex> guard(fetchLocks[block % fetchLocks.size()], std::defer_lock);
    if (buffer.mustFetchOnce()) {
        guard.lock();
        if (verifiedBlocks[block].load(std::memory_order_relaxed) != 0) return;
    }
    fetch(begin, end);
    std::uint64_t expected;
    std::memcpy(&expected, base + footer.tableOffset + block * 8, sizeof expected);
    if (HashBlock(base + begin, end - begin) != expected)
        throw std::runtime_error(name + " is damaged: bytes " + std::to_string(begin) + " to " +
                                 std::to_string(end) + " do not have their checksum");
    verifiedBlocks[block].store(1, std::memory_order_release);
    // The marks of the values that readers probably come to next are written to before they are
    // read: a page of zeros that is read first is given twice, and all threads wait for the second.
    const std::uint64_t ahead = std::min(end + kMarkedAheadBytes, footer.tableOffset);
    checkedUnits.get()[ahead / kUnitBytes / 64].fetch_or(0, std::memory_order_relaxed);
}

const Node* Container::checked(const Place& place) {
    if (!isChecked(place.unit)) {
        checkNode(place);
        checkedUnits.get()[place.unit / 64].fetch_or(std::uint64_t(1) << place.unit % 64,
                                                     std::memory_order_release);
    }
    const auto* node = reinterpret_cast<const Node*>(base + place.unit * kUnitBytes);
    // What was checked as a group of another parent must not come in again as a number.
    if (place.type >= 0 && node->type != place.type)
        damaged("no attribute of the type stated stands", place.unit);
    return node;
}

const Node* Container::checkedChild(const Node* group, std::uint64_t index) {
    const FileEntry* entries = Entries<FileEntry>(group);
    Place place{entries[index].childUnit, entries[index].childType, 0, 0};
    if (place.type == kAttributeTypeGroup && !isChecked(place.unit)) {
        // The child's region begins behind the group before it, or where the parent's does.
        place.firstUnit = group->tupleSize;
        for (std::uint64_t before = index; before-- > 0;) {
            if (entries[before].childType != kAttributeTypeGroup) continue;
            place.firstUnit = entries[before].childUnit + 1ull;
            break;
        }
        place.maximumDepth = group->depth - 1;
    }
    return checked(place);
}

void Container::checkNode(const Place& place) {
    const std::uint64_t offset = place.unit * kUnitBytes;
    if (offset < sizeof(ContainerHeader) || offset + sizeof(Node) > footer.tableOffset)
        damaged("a reference leads outside", place.unit);
    verifyRange(offset, offset + sizeof(Node));
    const Node* node = reinterpret_cast<const Node*>(base + offset);
    const std::uint8_t allowed = IsGroup(node) ? kInFile | kGroupInherit : kInFile | kTimesOmitted;
    if (node->refCount.load(std::memory_order_relaxed) != 0 || node->unit != place.unit ||
        !IsKnownType(node->type) || (place.type >= 0 && node->type != place.type) ||
        !IsInFile(node) || (node->flags & ~allowed) != 0 || node->reserved != 0)
        damaged("no attribute of the type stated stands", place.unit);
    if (IsGroup(node))
        checkGroup(node, place);
    else
        checkData(node);
}

/// The end of `elements` elements at `offset`, if it lies inside.
std::uint64_t Container::endOf(const Node* node, std::uint64_t offset, std::uint64_t elementBytes,
                               std::uint64_t elements) const {
    if (offset > footer.tableOffset || elements > (footer.tableOffset - offset) / elementBytes)
        damaged("an attribute leads outside", node->unit);
    return offset + elements * elementBytes;
}

void Container::checkData(const Node* node) {
    const std::uint64_t offset = node->unit * kUnitBytes;
    if (node->depth != 0) damaged("an attribute has an impossible depth", node->unit);
    if (node->type == kAttributeTypeNull) {
        if (node->count != 0 || node->timeCount != 0 || node->tupleSize != 0)
            damaged("a null attribute has values", node->unit);
        return;
    }
    const bool timesOmitted = node->flags & kTimesOmitted;
    if (node->timeCount == 0 || (timesOmitted && node->timeCount != 1))
        damaged("an attribute has an impossible number of times", node->unit);
    if (node->tupleSize == 0 || node->tupleSize > INT32_MAX)
        damaged("an attribute has an impossible tuple size", node->unit);
    if (!timesOmitted) {
        verifyRange(offset, endOf(node, offset + sizeof(Node), 4, node->timeCount));
        for (std::uint64_t i = 0; i < node->timeCount; ++i) {
            const float time = TimeAt(node, i);
            if (!std::isfinite(time) || (i > 0 && !(TimeAt(node, i - 1) < time)))
                damaged("an attribute has times that do not ascend", node->unit);
        }
        // Written out, it would make the value differ from the same one in memory.
        if (node->timeCount == 1 && TimeAt(node, 0) == 0.0f && !std::signbit(TimeAt(node, 0)))
            damaged("an attribute states the time that goes without saying", node->unit);
    }
    const std::uint64_t valuesOffset = offset + sizeof(Node) + TimesBytes(node);
    if (node->count > footer.tableOffset / node->timeCount)
        damaged("an attribute leads outside", node->unit);
    const std::uint64_t elements = NumberOfElements(node) + (node->type == kAttributeTypeString);
    verifyRange(offset, endOf(node, valuesOffset, ElementBytes(node->type), elements));
    if (node->type == kAttributeTypeString) checkStrings(node, valuesOffset);
}

void Container::checkStrings(const Node* node, std::uint64_t valuesOffset) {
    const std::uint64_t strings = NumberOfElements(node);
    const std::uint32_t* ends = Values<std::uint32_t>(node);
    if (ends[0] != 0) damaged("a string attribute has impossible lengths", node->unit);
    for (std::uint64_t i = 0; i < strings; ++i)
        if (ends[i + 1] <= ends[i])
            damaged("a string attribute has impossible lengths", node->unit);
    const std::uint64_t bytesOffset = valuesOffset + 4 * (strings + 1);
    verifyRange(bytesOffset, endOf(node, bytesOffset, 1, ends[strings]));
    const char* characters = StringBytes(node);
    for (std::uint64_t i = 0; i < strings; ++i)
        if (characters[ends[i + 1] - 1] != '\0')
            damaged("a string attribute has an unfinished string", node->unit);
}

void Container::checkGroup(const Node* node, const Place& place) {
    const std::uint64_t offset = node->unit * kUnitBytes;
    const std::uint64_t firstUnit = node->tupleSize;
    if (node->timeCount != 0 || node->depth == 0 || node->depth > place.maximumDepth)
        damaged("a group has an impossible depth", node->unit);
    if (firstUnit < place.firstUnit || firstUnit > node->unit)
        damaged("a group lies outside of its parent", node->unit);
    if (node->count > UINT32_MAX) damaged("an attribute leads outside", node->unit);
    const bool sorted = node->count > kLinearSearchLimit;
    verifyRange(offset, endOf(node, offset + sizeof(Node), sizeof(FileEntry) + (sorted ? 4 : 0),
                              node->count));

    const FileEntry* entries = Entries<FileEntry>(node);
    std::uint64_t groupsBegin = firstUnit;
    for (std::uint64_t i = 0; i < node->count; ++i) {
        if (!IsKnownType(entries[i].childType) || entries[i].reserved != 0)
            damaged("a group has a child of no known type", node->unit);
        if (entries[i].childUnit >= footer.tableOffset / kUnitBytes)
            damaged("a reference leads outside", entries[i].childUnit);
        if (entries[i].childType != kAttributeTypeGroup) continue;
        if (entries[i].childUnit < groupsBegin || entries[i].childUnit >= node->unit)
            damaged("a group has a child group outside of it", node->unit);
        groupsBegin = entries[i].childUnit + 1ull;
    }
    checkNames(node);
}

/// By its last name, which tells it best from others.
std::atomic<const Node*>& Container::lookalikeOf(const Node* group) {
    const std::uint64_t count = group->count;
    const std::uint64_t name = count > 0 ? Entries<FileEntry>(group)[count - 1].nameUnit : 0;
    return lookalikes[(name * 31 + count) % lookalikes.size()];
}

/// Names at the same places of the file are the same names.
bool Container::hasNamesOf(const Node* group, const Node* known) {
    if (group->count != known->count) return false;
    const FileEntry* entries = Entries<FileEntry>(group);
    const FileEntry* knownEntries = Entries<FileEntry>(known);
    for (std::uint64_t i = 0; i < group->count; ++i)
        if (entries[i].nameUnit != knownEntries[i].nameUnit ||
            entries[i].nameLength != knownEntries[i].nameLength)
            return false;
    return true;
}

void Container::checkNames(const Node* node) {
    const FileEntry* entries = Entries<FileEntry>(node);
    const bool sorted = node->count > kLinearSearchLimit;
    if (!sorted) {
        const Node* known = lookalikeOf(node).load(std::memory_order_acquire);
        if (known && hasNamesOf(node, known)) return;
    }
    for (std::uint64_t i = 0; i < node->count; ++i) {
        const FileEntry& entry = entries[i];
        const std::uint64_t offset = entry.nameUnit * kUnitBytes;
        verifyRange(offset, endOf(node, offset, 1, entry.nameLength + 1ull));
        // In a short group nobody looks at the hash.
        if (base[offset + entry.nameLength] != '\0' ||
            (sorted && HashName(NameOf(node, entry)) != entry.nameHash))
            damaged("a group has a name that is not what it states", node->unit);
    }
    const auto sameName = [&](std::uint64_t a, std::uint64_t b) {
        return entries[a].nameLength == entries[b].nameLength &&
               NameOf(node, entries[a]) == NameOf(node, entries[b]);
    };
    if (!sorted) {
        for (std::uint64_t i = 0; i < node->count; ++i)
            for (std::uint64_t j = 0; j < i; ++j)
                if (sameName(i, j)) damaged("a group has two children of one name", node->unit);
        lookalikeOf(node).store(node, std::memory_order_release);
        return;
    }
    const std::uint32_t* order = SortedIndices<FileEntry>(node);
    for (std::uint64_t i = 0; i < node->count; ++i) {
        if (order[i] >= node->count) damaged("a group has an impossible order", node->unit);
        if (i == 0) continue;
        const std::uint32_t a = order[i - 1], b = order[i];
        if (entries[a].nameHash > entries[b].nameHash ||
            (entries[a].nameHash == entries[b].nameHash && a >= b))
            damaged("a group has an impossible order", node->unit);
        for (std::uint64_t j = i; j-- > 0 && entries[order[j]].nameHash == entries[b].nameHash;) {
            if (sameName(order[j], b)) damaged("a group has two children of one name", node->unit);
            if (i - j >= kMaximumEqualHashes)
                damaged("a group has too many names of one hash", node->unit);
        }
    }
}

} // namespace OxAttribute
