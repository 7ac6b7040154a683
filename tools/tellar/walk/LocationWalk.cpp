#include "LocationWalk.h"

#include <utility>

namespace TellarTool {

namespace {

using Ptr = TELLAR::GeometryProducer::Ptr;

constexpr std::size_t kPieceBytes = 1 << 18;
/// The number of locations after which the count is updated and `emit` is called at the latest.
constexpr std::uint64_t kCountedTogether = 1024;

} // namespace

LocationWalk::LocationWalk(const LocationPrinter& printer, std::size_t depthLimit,
                           LocationCount& count, std::function<void(std::string)> emit)
    : printer(printer), depthLimit(depthLimit), count(count), emit(std::move(emit)) {}

void LocationWalk::walk(const WalkPart& part) {
    levels.clear();
    isLast = part.isLast;
    try {
        walkPart(part);
    } catch (...) {
        deliver();
        throw;
    }
    deliver();
}

void LocationWalk::walkPart(const WalkPart& part) {
    switch (part.kind) {
    case WalkPart::Open:
        ++uncounted;
        printer.open(visitOf(*part.location, part.hasChildren), text);
        break;
    case WalkPart::Close:
        printer.close(visitOf(*part.location, part.hasChildren), text);
        break;
    case WalkPart::Subtree:
        walkSubtree(part.location);
        break;
    case WalkPart::Run:
        walkRun(part);
        break;
    }
}

void LocationWalk::walkSubtree(const Ptr& location) {
    enter(location);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (!level.nextChild) {
            leave();
            continue;
        }
        const Ptr child = std::move(level.nextChild);
        level.nextChild = child->getNextSibling();
        isLast.push_back(!level.nextChild);
        enter(child);
    }
}

void LocationWalk::walkRun(const WalkPart& part) {
    auto name = part.names.begin();
    Ptr child;
    while (!child && name != part.names.end())
        child = part.location->getChildByName((name++)->c_str());
    while (child) {
        const Ptr next = child->getNextSibling();
        isLast.push_back(!next);
        walkSubtree(child);
        isLast = part.isLast;
        // There are no children of the names between this one and the next.
        while (next && name != part.names.end() && *name != next->getName())
            ++name;
        if (name == part.names.end()) return;
        ++name;
        child = next;
    }
}

void LocationWalk::enter(const Ptr& location) {
    Ptr firstChild = isLast.size() < depthLimit ? location->getFirstChild() : Ptr();
    const bool hasChildren = firstChild != nullptr;
    levels.push_back({location, std::move(firstChild), hasChildren});
    printer.open(visitOf(*location, hasChildren), text);
    if (++uncounted >= kCountedTogether || text.size() >= kPieceBytes) deliver();
}

void LocationWalk::leave() {
    const Level& level = levels.back();
    printer.close(visitOf(*level.location, level.hasChildren), text);
    levels.pop_back();
    if (!levels.empty()) isLast.pop_back();
}

Visit LocationWalk::visitOf(TELLAR::GeometryProducer& location, bool hasChildren) const {
    return {location, isLast, hasChildren, isLast.size() >= depthLimit};
}

void LocationWalk::deliver() {
    count += std::exchange(uncounted, 0);
    emit(std::exchange(text, std::string()));
}

} // namespace TellarTool
