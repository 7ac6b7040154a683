#ifndef TELLAR_VISIT_TREESECTIONS_H
#define TELLAR_VISIT_TREESECTIONS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <utility>
#include <vector>

#include "DepthFirst.h"

namespace TELLAR {

/// A part of the tree: consecutive locations, in the order of the tree.
struct TreeSection {
    enum Kind {
        Cooked, ///< `cooked` is to be visited
        Open,   ///< `siblings` and what is below them are still to be cooked
        InWork  ///< a thread works on `siblings` and what is below them
    };
    using Batch = std::vector<FoundLocation>;

    using Batches = std::list<Batch>;

    explicit TreeSection(Batch batch) : kind(Cooked) { cooked.push_back(std::move(batch)); }
    TreeSection(Kind kind, Siblings part) : kind(kind), siblings(std::move(part)) {}

    Kind kind;
    Batches cooked;
    Siblings siblings{};
    std::atomic<bool> isDropped{false}; // the thread in work may stop
};

/// All of the tree that is not visited yet, as sections in the order of the tree. Two cooked ones
/// are never neighbours. Not thread-safe, but for the flags isDropped.
class TreeSections {
public:
    using Place = std::list<TreeSection>::iterator;

    explicit TreeSections(Siblings children) {
        sections.emplace_back(TreeSection::Open, std::move(children));
    }

    bool isEmpty() const { return sections.empty(); }
    TreeSection::Kind firstKind() const { return sections.front().kind; }
    /// The number of cooked locations that are not visited yet.
    std::size_t countCooked() const { return cookedCount; }
    bool hasOpen() const;

    /// Puts the beginning of the first open section into work: at most `most` siblings, and no more
    /// than one of `shares` equal shares. There must be an open section.
    Place putIntoWork(std::int64_t shares, std::int64_t most);
    /// Replaces a section in work by its result: locations, and behind them the siblings that are
    /// left on each level of a depth-first walk, uppermost level first.
    void finish(Place place, TreeSection::Batch found, std::vector<Siblings> levels);

    /// Takes out the first section, which must be cooked.
    TreeSection::Batches takeCooked();
    /// Drops the first locations as far as they are deeper than `depth`.
    void dropDeeperThan(std::size_t depth);

private:
    Place firstOpen();
    void joinCooked(Place place);
    bool dropFromCooked(TreeSection& section, std::size_t depth);

    std::list<TreeSection> sections;
    std::list<TreeSection> dropped; // in work
    std::size_t cookedCount = 0;
};

} // namespace TELLAR

#endif
