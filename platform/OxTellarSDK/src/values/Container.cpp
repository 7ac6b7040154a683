#include "Container.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include <OxTellarSDK/TellarError.h>

#include "BlockHash.h"
#include "FilePieces.h"
#include "NodeAccess.h"
#include "ThreadSlot.h"

namespace OxAttribute {

namespace {

/// All open files, so that a file is mapped once and closed when no handle to it is left.
struct Registry {
    std::mutex lock;
    std::vector<Container*> containers;
};

/// Never destroyed, and in static memory, because the end of a runtime asks for it and must not
/// fail.
Registry& GetRegistry() {
    alignas(Registry) static unsigned char memory[sizeof(Registry)];
    static Registry* const registry = new (memory) Registry;
    return *registry;
}

std::uint64_t NextNumber() {
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

Container::Container(FileBuffer fileBuffer, StreamName fileName)
    : buffer(std::move(fileBuffer)), name(std::move(fileName)), ownNumber(NextNumber()),
      base(buffer.data()), bytes(buffer.size()), header{}, footer{} {}

Container::~Container() {
    buffer.onGiveBack({}); // before anything is destroyed that forget() uses
    if (isMapped) ContainerMap::Remove(base, bytes);
    for (std::uint32_t number = 0; shapes && number < footer.shapeCount; ++number)
        delete shapes[number].load(std::memory_order_relaxed);
}

Attribute Container::Open(FileBuffer buffer, const StreamName& name, ContainerKind wanted) {
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
    ContainerMap::Add(container->base, container->bytes, container.get());
    container->isMapped = true;
    if (!container->isLarge()) container->verifyRange(0, container->footer.tableOffset);
    container->buffer.onGiveBack([self = container.get()](std::uint64_t begin, std::uint64_t end) {
        self->forget(begin, end);
    });
    Attribute root = container->root();
    registry.containers.push_back(container.get());
    static_cast<void>(container.release()); // Collect deletes it
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

// A handle is only ever copied from a living one. So a thread that sees that a handle was dropped
// also sees that every handle copied from it was taken. Drops are read first. Then the sums can be
// equal only if no handle is left, and none can appear, because a new one needs the registry's
// lock.
bool Container::isUnused() const {
    std::uint64_t dropped = 0;
    for (const Slot& slot : slots)
        dropped += slot.dropped.load(std::memory_order_acquire);
    std::uint64_t taken = 0;
    for (const Slot& slot : slots)
        taken += slot.taken.load(std::memory_order_acquire);
    return taken == dropped;
}

DataView FullViewOf(const Node* node) noexcept {
    const Container* const container = Container::Of(node);
    return container ? container->fullView(node) : SoundViewOf(*Full(node));
}

DataView Container::fullView(const Node* node) const noexcept {
    const auto offset = static_cast<std::uint64_t>(Bytes(node) - base);
    DataView nothing;
    nothing.values = Bytes(node);
    if (offset % alignof(FullNode) != 0 || footer.tableOffset - offset < sizeof(FullNode) ||
        IsGroup(node) || Full(node)->timeCount == 0)
        return nothing;
    // Two numbers of the file below 2^32 cannot overflow when they are multiplied. They are read
    // once, because they may change.
    const std::uint64_t count = Full(node)->count;
    const std::uint64_t timeCount = Full(node)->timeCount;
    const Node head{node->word};
    DataView view;
    view.type = head.type();
    std::uint64_t rest = footer.tableOffset - offset - sizeof(FullNode);
    const std::uint64_t timesBytes = TimesBytes(head.word, timeCount);
    if (timesBytes > rest || (timesBytes == 0 && timeCount != 1)) return nothing;
    rest -= timesBytes;
    const bool isString = view.type == kAttributeTypeString;
    const std::uint64_t most = rest >> (view.type == kAttributeTypeDouble ? 3 : 2);
    if (count > most || count * timeCount + isString > most) return nothing;
    const char* const times = Bytes(node) + sizeof(FullNode);
    if (timesBytes > 0) view.times = reinterpret_cast<const float*>(times);
    view.values = times + timesBytes;
    view.count = count;
    view.timeCount = static_cast<std::uint32_t>(timeCount);
    view.tupleSize = std::max(1u, Full(node)->tupleSize);
    if (!isString) return view;
    const std::uint64_t elements = count * timeCount;
    view.ends = reinterpret_cast<const std::uint32_t*>(view.values);
    view.values += 4 * (elements + 1);
    const std::uint64_t textBytes = view.ends[elements];
    if (textBytes > rest - 4 * (elements + 1)) return nothing;
    view.textBytes = static_cast<std::uint32_t>(textBytes);
    return view;
}

bool Container::findHash(std::uint64_t unit, Hash& hash) {
    const std::lock_guard<std::mutex> guard(hashLock);
    if (!hashes) return false;
    const CachedHash& cached = (*hashes)[unit % hashes->size()];
    if (cached.unit != unit) return false;
    hash = cached.hash;
    return true;
}

void Container::keepHash(std::uint64_t unit, const Hash& hash) {
    const std::lock_guard<std::mutex> guard(hashLock);
    if (!hashes) hashes = std::make_unique<std::array<CachedHash, 1024>>();
    (*hashes)[unit % hashes->size()] = {unit, hash};
}

void Container::fetch(std::uint64_t begin, std::uint64_t end) const {
    std::string defect;
    if (!buffer.fetch(begin, end, defect)) refuse(defect);
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
    if (HashBlock(base + begin, end - begin) != checksums[block])
        refuseDamage("bytes " + std::to_string(begin) + " to " + std::to_string(end) +
                     " do not have their checksum");
    verifiedBlocks[block].store(1, std::memory_order_release);
    checkedUnits.expect(std::min(end / kUnitBytes + CheckedUnits::kUnitsOfPage, units()));
}

/// Has bytes that were given back to the system, and their values, checked again when somebody asks
/// for them. That counts them, and finds out if the file has changed meanwhile.
void Container::forget(std::uint64_t begin, std::uint64_t end) noexcept {
    end = std::min(end, footer.tableOffset);
    for (std::uint64_t block = begin / kBlockBytes; block * kBlockBytes < end; ++block)
        verifiedBlocks[block].store(0, std::memory_order_relaxed);
    checkedUnits.remove(begin / kUnitBytes, (end + kUnitBytes - 1) / kUnitBytes);
}

void Container::refuse(const std::string& why) const {
    throw TellarError::OfFile(name.file, name.text + " " + why);
}

void Container::refuseDamage(const std::string& what) const {
    refuse(buffer.hasChanged() ? kChanged : "is damaged: " + what);
}

void Container::missing(const Node* node) const {
    damaged("no attribute of the type stated stands", unitOf(node));
}

void Container::damaged(const std::string& what, std::uint64_t unit) const {
    refuseDamage(what + " at byte " + std::to_string(unit * kUnitBytes));
}

} // namespace OxAttribute
