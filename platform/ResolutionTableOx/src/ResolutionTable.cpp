#include <ResolutionTableOx/ResolutionTable.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "ResolutionOfSize.h"
#include "ResolutionRules.h"
#include "text/SimilarNames.h"

namespace {

std::string MissingNameText(const std::vector<ResolutionTableEntry>& entries,
                            const std::string& missing) {
    std::vector<std::string> names;
    names.reserve(entries.size());
    for (const ResolutionTableEntry& entry : entries)
        names.push_back(entry.getName());
    return "no resolution is named '" + missing + "'" +
           TellarInternal::DidYouMean(names, missing, '\'');
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
    if (found != byName.end() && entries[*found].getName() == name) return entries[*found];
    if (const ResolutionTableEntry* const entry = FindResolutionOfSize(name)) return *entry;
    throw std::runtime_error(MissingNameText(entries, name));
}
