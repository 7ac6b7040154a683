#include "drawing/MatteLayer.h"

#include <algorithm>

namespace lantern {

void MatteLayer::add(std::size_t pixel, int bucket, std::uint32_t id) {
    std::vector<Entry>& others = more[static_cast<std::size_t>(bucket)];
    Entry* entry = &first[pixel];
    while (entry->rank.paths > 0 && entry->rank.id != id && entry->next > 0)
        entry = &others[entry->next - 1];
    if (entry->rank.paths > 0 && entry->rank.id != id) {
        entry->next = static_cast<std::uint32_t>(others.size() + 1);
        entry = &others.emplace_back(); // the old pointer may dangle from here on
    }
    entry->rank.id = id;
    ++entry->rank.paths;
}

std::array<MatteLayer::Rank, MatteLayer::kRanks> MatteLayer::ranksOf(std::size_t pixel,
                                                                     int bucket) const {
    const std::vector<Entry>& others = more[static_cast<std::size_t>(bucket)];
    std::vector<Rank> found;
    for (const Entry* entry = &first[pixel]; entry->rank.paths > 0;
         entry = &others[entry->next - 1]) {
        found.push_back(entry->rank);
        if (entry->next == 0) break;
    }
    std::sort(found.begin(), found.end(), [](const Rank& a, const Rank& b) {
        return a.paths != b.paths ? a.paths > b.paths : a.id < b.id;
    });
    std::array<Rank, kRanks> ranks{};
    std::copy_n(found.begin(), std::min(found.size(), ranks.size()), ranks.begin());
    return ranks;
}

} // namespace lantern
