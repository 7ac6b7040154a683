#include "TreeSections.h"

#include <algorithm>
#include <iterator>

namespace TELLAR {

bool TreeSections::hasOpen() const {
    return std::any_of(sections.begin(), sections.end(), [](const TreeSection& section) {
        return section.kind == TreeSection::Open;
    });
}

/// Few sections are looked at: in front of the first open one are those in work, one for each
/// thread, and cooked ones between these.
TreeSections::Place TreeSections::firstOpen() {
    return std::find_if(sections.begin(), sections.end(), [](const TreeSection& section) {
        return section.kind == TreeSection::Open;
    });
}

TreeSections::Place TreeSections::putIntoWork(std::int64_t shares, std::int64_t most) {
    const Place open = firstOpen();
    const std::int64_t count = open->siblings.count();
    const std::int64_t number = std::clamp<std::int64_t>(count / shares, 1, most);
    if (number < count)
        return sections.emplace(open, TreeSection::InWork, open->siblings.takeFirst(number));
    open->kind = TreeSection::InWork;
    return open;
}

void TreeSections::finish(Place place, TreeSection::Batch found, std::vector<Siblings> levels) {
    if (place->isDropped) {
        dropped.erase(place);
        return;
    }
    cookedCount += found.size();
    if (!found.empty()) joinCooked(sections.emplace(place, std::move(found)));
    for (auto level = levels.rbegin(); level != levels.rend(); ++level)
        if (level->count() > 0) sections.emplace(place, TreeSection::Open, std::move(*level));
    const Place next = sections.erase(place);
    if (next != sections.end() && next->kind == TreeSection::Cooked) joinCooked(next);
}

/// Joins a cooked section with a cooked one in front of it.
void TreeSections::joinCooked(Place place) {
    if (place == sections.begin()) return;
    TreeSection& previous = *std::prev(place);
    if (previous.kind != TreeSection::Cooked) return;
    previous.cooked.splice(previous.cooked.end(), place->cooked);
    sections.erase(place);
}

TreeSection::Batches TreeSections::takeCooked() {
    TreeSection::Batches cooked = std::move(sections.front().cooked);
    sections.pop_front();
    for (const TreeSection::Batch& batch : cooked)
        cookedCount -= batch.size();
    return cooked;
}

void TreeSections::dropDeeperThan(std::size_t depth) {
    while (!sections.empty()) {
        TreeSection& first = sections.front();
        if (first.kind == TreeSection::Cooked) {
            if (!dropFromCooked(first, depth)) return;
            sections.pop_front();
            continue;
        }
        // Its first location is its highest one.
        if (first.siblings.depth <= depth) return;
        if (first.kind == TreeSection::Open) {
            sections.pop_front();
            continue;
        }
        first.isDropped = true;
        dropped.splice(dropped.end(), sections, sections.begin());
    }
}

/// Returns whether nothing is left.
bool TreeSections::dropFromCooked(TreeSection& section, std::size_t depth) {
    while (!section.cooked.empty()) {
        TreeSection::Batch& batch = section.cooked.front();
        const auto end = std::find_if(batch.begin(), batch.end(), [&](const FoundLocation& found) {
            return found.depth <= depth;
        });
        cookedCount -= static_cast<std::size_t>(end - batch.begin());
        batch.erase(batch.begin(), end);
        if (!batch.empty()) return false;
        section.cooked.pop_front();
    }
    return true;
}

} // namespace TELLAR
