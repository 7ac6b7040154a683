#include <ResolutionTableOx/ResolutionTable.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "ResolutionRules.h"

namespace {

// A name that differs in more letters is not a misspelling.
constexpr std::size_t kMaximumDistance = 3;

// A hint names only a few.
constexpr std::size_t kMaximumSuggestions = 3;

std::string LowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

// The number of bytes to insert, remove or replace to turn one text into the other.
std::size_t EditDistance(std::string_view from, std::string_view to) {
    // distances[i] is the distance from the part of `from` read so far to the first i bytes of
    // `to`.
    std::vector<std::size_t> distances(to.size() + 1);
    std::iota(distances.begin(), distances.end(), std::size_t{0});
    for (const char c : from) {
        std::size_t diagonal = distances[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t replaced = diagonal + (c == to[i] ? 0 : 1);
            diagonal = distances[i + 1];
            distances[i + 1] = std::min({replaced, diagonal + 1, distances[i] + 1});
        }
    }
    return distances.back();
}

// The names most similar to a missing one, the most similar first.
std::vector<std::string> SimilarNames(const std::vector<ResolutionTableEntry>& entries,
                                      const std::string& missing) {
    const std::string wanted = LowerCase(missing);
    const std::size_t limit = std::clamp<std::size_t>(wanted.size() / 3, 1, kMaximumDistance);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const ResolutionTableEntry& entry : entries) {
        const std::string& name = entry.getName();
        // A cheap test first, which bounds the cost for a long missing name.
        if (name.size() > wanted.size() + limit || wanted.size() > name.size() + limit) continue;
        const std::size_t distance = EditDistance(wanted, LowerCase(name));
        if (distance <= limit) found.emplace_back(distance, name);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < found.size() && i < kMaximumSuggestions; ++i)
        names.push_back(found[i].second);
    return names;
}

std::string MissingNameText(const std::vector<ResolutionTableEntry>& entries,
                            const std::string& missing) {
    std::string text = "no resolution is named '" + missing + "'";
    const std::vector<std::string> similar = SimilarNames(entries, missing);
    if (similar.empty()) return text;
    for (std::size_t i = 0; i < similar.size(); ++i) {
        const bool isLast = i + 1 == similar.size();
        text += i == 0 ? "; did you mean '" : isLast ? " or '" : ", '";
        text += similar[i] + "'";
    }
    return text + "?";
}

} // namespace

ResolutionTableEntry::ResolutionTableEntry(std::string name, int width, int height,
                                           double pixelAspect)
    : name(std::move(name)), width(width), height(height), pixelAspect(pixelAspect) {
    CheckFormatName(this->name);
    CheckFormatSize(this->name, "width", width);
    CheckFormatSize(this->name, "height", height);
    CheckPixelCount(this->name, width, height);
    CheckPixelAspect(this->name, pixelAspect);
}

ResolutionTable::ResolutionTable(std::vector<ResolutionTableEntry> entries)
    : entries(std::move(entries)), byName(this->entries.size()) {
    std::iota(byName.begin(), byName.end(), std::size_t{0});
    std::stable_sort(byName.begin(), byName.end(), [this](std::size_t a, std::size_t b) {
        return this->entries[a].getName() < this->entries[b].getName();
    });
}

const ResolutionTableEntry& ResolutionTable::getResolution(const std::string& name) const {
    const auto found = std::lower_bound(byName.begin(), byName.end(), name,
                                        [this](std::size_t index, const std::string& wanted) {
                                            return entries[index].getName() < wanted;
                                        });
    if (found == byName.end() || entries[*found].getName() != name)
        throw std::runtime_error(MissingNameText(entries, name));
    return entries[*found];
}
