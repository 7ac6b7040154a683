#include <OxTellarProducers/SceneChanges.h>

#include <algorithm>
#include <new>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/ChangedLocations.h>

#include "AttributeChanges.h"
#include "ExceptionText.h"
#include "LocationNames.h"
#include "LocationTarget.h"

namespace TELLAR {

namespace {

using OxAttribute::StringAttribute;
using OxLocationPath::LocationSet;
using Client = TellarRuntime::Client;
using LocationData = TellarRuntime::LocationData;

constexpr const char* kRootPath = "/root";

// Below this number, a name is looked up in a list faster than in a hash table.
constexpr std::size_t kFewNames = 4;

/// A location in one of the scenes, or why it cannot be cooked.
struct Cooked {
    LocationData data;
    std::exception_ptr error;

    bool exists() const { return error || data.doesLocationExist(); }
};

/// A child of a pair of locations: its index among the potential children of each, or -1.
struct ChildPlace {
    std::int64_t oldIndex = -1;
    std::int64_t newIndex = -1;
};

/// A location that both scenes have, and the children that are still to be compared.
struct Pair {
    std::string path;
    LocationData oldData;
    LocationData newData;
    std::vector<ChildPlace> children;
    std::size_t nextChild = 0;
};

template <typename Cook>
Cooked CookedBy(const Cook& cook) {
    Cooked cooked;
    try {
        cooked.data = cook();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        cooked.error = std::current_exception();
    }
    return cooked;
}

template <typename AnyClient>
LocationData CookChild(AnyClient& client, const LocationData& parent, std::int64_t index,
                       const std::string& path) {
    if constexpr (kFindsChildrenByIndex<AnyClient>) {
        LocationData data = client.cookChild(parent, index);
        if (data.isValid()) return data;
    }
    return client.cookLocation(path);
}

Cooked CookRoot(const std::shared_ptr<Client>& client) {
    if (!client) return {};
    return CookedBy([&] { return client->cookLocation(kRootPath); });
}

Cooked CookChildOf(const std::shared_ptr<Client>& client, const LocationData& parent,
                   std::int64_t index, const std::string& path) {
    if (!client || index < 0) return {};
    return CookedBy([&] { return CookChild(*client, parent, index, path); });
}

std::string TextOfError(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return TextOf(exception);
    } catch (...) {
        return {};
    }
}

bool HaveEqualErrors(const Cooked& before, const Cooked& after) {
    return before.error && after.error && TextOfError(before.error) == TextOfError(after.error);
}

/// Other names would lead to other locations than children.
bool IsOneLevel(std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos;
}

/// Chooses names of children, each of them once.
class WantedNames {
public:
    /// Nothing stands for all names.
    explicit WantedNames(std::optional<std::vector<std::string>> wantedNames)
        : wanted(std::move(wantedNames)) {
        if (!wanted || wanted->size() < kFewNames) return;
        left.insert(wanted->begin(), wanted->end());
    }

    bool take(std::string_view name) {
        if (!wanted) return IsOneLevel(name) && left.insert(name).second;
        if (wanted->size() >= kFewNames) return left.erase(name) != 0;
        const auto found = std::find(wanted->begin(), wanted->end(), name);
        if (found == wanted->end()) return false;
        wanted->erase(found);
        return true;
    }
    bool areAllTaken() const {
        return wanted && (wanted->size() < kFewNames ? wanted->empty() : left.empty());
    }

private:
    std::optional<std::vector<std::string>> wanted;
    std::unordered_set<std::string_view> left; // all names: those taken; many names: those left
};

class SceneComparison {
public:
    SceneComparison(const std::shared_ptr<Client>& oldClient,
                    const std::shared_ptr<Client>& newClient, const LocationSet& touched)
        : oldClient(oldClient), newClient(newClient), touched(touched) {}

    /// Does not call itself, because scenes may be deep.
    SceneChanges compare() {
        compareLocation(kRootPath, CookRoot(oldClient), CookRoot(newClient));
        while (!open.empty()) {
            Pair& pair = open.back();
            if (pair.nextChild == pair.children.size())
                open.pop_back();
            else
                compareChild(pair, pair.children[pair.nextChild++]);
        }
        return std::move(changes);
    }

private:
    void compareChild(const Pair& parent, ChildPlace child) {
        const bool isInNew = child.newIndex >= 0;
        const StringAttribute& names =
            (isInNew ? parent.newData : parent.oldData).getPotentialChildren();
        std::string path =
            ChildPath(parent.path, names.getValueView(isInNew ? child.newIndex : child.oldIndex));
        Cooked before = CookChildOf(oldClient, parent.oldData, child.oldIndex, path);
        Cooked after = CookChildOf(newClient, parent.newData, child.newIndex, path);
        compareLocation(std::move(path), std::move(before), std::move(after));
    }

    void compareLocation(std::string path, Cooked before, Cooked after) {
        if (!before.exists() && !after.exists()) return;
        if (before.exists() != after.exists()) {
            changes.push_back({std::move(path),
                               after.exists() ? SceneChange::Added : SceneChange::Removed,
                               kAllChanged,
                               {},
                               before.error,
                               after.error});
            return;
        }
        if (before.error || after.error) {
            if (!HaveEqualErrors(before, after))
                changes.push_back({std::move(path),
                                   SceneChange::Changed,
                                   kAllChanged,
                                   {},
                                   before.error,
                                   after.error});
            return;
        }
        Pair pair{std::move(path), std::move(before.data), std::move(after.data), {}};
        compareContent(pair);
        if (!pair.children.empty()) open.push_back(std::move(pair));
    }

    /// Reading a damaged file may throw an exception.
    void compareContent(Pair& pair) {
        try {
            const bool isReordered = findChildren(pair);
            AttributeChanges differing;
            if (touched.mayContain(pair.path))
                differing = CompareAttributes(pair.oldData.getAttrs(), pair.newData.getAttrs());
            if (isReordered) differing.mask |= kChildrenChanged;
            if (differing.mask != 0)
                changes.push_back({pair.path, SceneChange::Changed, differing.mask,
                                   std::move(differing.attributes), nullptr, nullptr});
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            pair.children.clear();
            changes.push_back({pair.path,
                               SceneChange::Changed,
                               kAllChanged,
                               {},
                               nullptr,
                               std::current_exception()});
        }
    }

    /// Finds the children that may differ. Returns true when children of both scenes have another
    /// order.
    bool findChildren(Pair& pair) const {
        const StringAttribute& oldNames = pair.oldData.getPotentialChildren();
        const StringAttribute& newNames = pair.newData.getPotentialChildren();
        WantedNames wanted(touched.childrenTowards(pair.path));
        if (!OxAttribute::HaveEqualContent(oldNames, newNames))
            return mergeChildren(oldNames, newNames, wanted, pair.children);
        const auto names = newNames.getNearestSample(0.0f);
        for (std::size_t i = 0; i < names.size() && !wanted.areAllTaken(); ++i) {
            const auto index = static_cast<std::int64_t>(i);
            if (wanted.take(names[i])) pair.children.push_back({index, index});
        }
        return false;
    }

    /// The children of two lists: first those that only the old one has.
    static bool mergeChildren(const StringAttribute& oldNames, const StringAttribute& newNames,
                              WantedNames& wanted, std::vector<ChildPlace>& children) {
        const auto before = oldNames.getNearestSample(0.0f);
        const auto after = newNames.getNearestSample(0.0f);
        std::unordered_map<std::string_view, ChildPlace> places;
        for (std::size_t i = after.size(); i-- > 0;)
            places[after[i]].newIndex = static_cast<std::int64_t>(i);
        for (std::size_t i = before.size(); i-- > 0;)
            places[before[i]].oldIndex = static_cast<std::int64_t>(i);
        for (std::size_t i = 0; i < before.size(); ++i) {
            const ChildPlace place = places[before[i]];
            if (place.newIndex < 0 && place.oldIndex == static_cast<std::int64_t>(i) &&
                IsOneLevel(before[i]))
                children.push_back(place);
        }
        bool isReordered = false;
        std::int64_t lastOldIndex = -1;
        for (std::size_t i = 0; i < after.size(); ++i) {
            const ChildPlace place = places[after[i]];
            if (place.newIndex != static_cast<std::int64_t>(i) || !IsOneLevel(after[i])) continue;
            if (place.oldIndex >= 0) {
                isReordered = isReordered || place.oldIndex < lastOldIndex;
                lastOldIndex = place.oldIndex;
            }
            if (place.oldIndex < 0 || wanted.take(after[i])) children.push_back(place);
        }
        return isReordered;
    }

    const std::shared_ptr<Client>& oldClient;
    const std::shared_ptr<Client>& newClient;
    const LocationSet& touched;
    std::vector<Pair> open; // from the root down
    SceneChanges changes;
};

std::shared_ptr<TellarRuntime::Op> OpOf(const std::shared_ptr<Client>& client) {
    return client ? client->getOp() : nullptr;
}

} // namespace

SceneChanges CompareScenes(const std::shared_ptr<Client>& oldClient,
                           const std::shared_ptr<Client>& newClient) {
    return CompareScenes(oldClient, newClient,
                         OxOpType::ChangedLocations(OpOf(oldClient), OpOf(newClient)));
}

SceneChanges CompareScenes(const std::shared_ptr<Client>& oldClient,
                           const std::shared_ptr<Client>& newClient, const LocationSet& touched) {
    if (touched.isEmpty()) return {};
    return SceneComparison(oldClient, newClient, touched).compare();
}

} // namespace TELLAR
