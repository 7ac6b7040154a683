#include "SceneComparison.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <OxTellarSDK/AttributeDifference.h>

#include "ExceptionText.h"
#include "LocationNames.h"
#include "LocationTarget.h"

namespace TELLAR {

namespace {

using OxAttribute::StringAttribute;
using OxLocationPath::LocationSet;
using Client = TellarRuntime::Client;
using LocationData = TellarRuntime::LocationData;

// Below this number, a name is looked up in a list faster than in a hash table.
constexpr std::size_t kFewNames = 4;

/// A child of a pair of locations: its index among the potential children of each, or -1.
struct ChildPlace {
    std::int64_t oldIndex = -1;
    std::int64_t newIndex = -1;
};

/// A location in both scenes, and its children that are still to be visited.
struct Pair {
    std::string path;
    LocationSide before;
    LocationSide after;
    std::vector<ChildPlace> children;
    bool areAllChildrenTouched = false;
    std::size_t nextChild = 0;
};

template <typename Cook>
LocationSide CookedBy(const Cook& cook) {
    LocationSide side;
    try {
        side.data = cook();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        side.error = std::current_exception();
    }
    return side;
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

LocationSide CookStart(const std::shared_ptr<Client>& client, const std::string& start) {
    if (!client) return {};
    return CookedBy([&] { return client->cookLocation(start); });
}

LocationSide CookChildOf(const std::shared_ptr<Client>& client, const LocationData& parent,
                         std::int64_t index, const std::string& path) {
    if (!client || index < 0) return {};
    return CookedBy([&] { return CookChild(*client, parent, index, path); });
}

std::exception_ptr ReadErrorOf(const LocationData& data) {
    try {
        static_cast<void>(data.getHash()); // reads all of it
        return nullptr;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return std::current_exception();
    }
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

    bool areAll() const { return !wanted; }
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

/// The children of two lists: first those that only the old one has. Returns true when children of
/// both have another order.
bool MergeChildren(const StringAttribute& oldNames, const StringAttribute& newNames,
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

class BothScenes {
public:
    BothScenes(const std::shared_ptr<Client>& oldClient, const std::shared_ptr<Client>& newClient,
               const LocationSet& touched, const ComparisonVisitor& visitor)
        : oldClient(oldClient), newClient(newClient), touched(touched), visitor(visitor) {}

    /// Does not call itself, because scenes may be deep.
    bool visit(const std::string& start) {
        visitLocation({start, CookStart(oldClient, start), CookStart(newClient, start), {}});
        while (!open.empty() && !isStopped) {
            Pair& pair = open.back();
            if (pair.nextChild == pair.children.size())
                open.pop_back();
            else
                visitChild(pair, pair.children[pair.nextChild++]);
        }
        return !isStopped;
    }

private:
    void visitChild(const Pair& parent, ChildPlace child) {
        const bool isInNew = child.newIndex >= 0;
        const LocationData& named = isInNew ? parent.after.data : parent.before.data;
        std::string path = ChildPath(parent.path, named.getPotentialChildren().getValueView(
                                                      isInNew ? child.newIndex : child.oldIndex));
        LocationSide before = CookChildOf(oldClient, parent.before.data, child.oldIndex, path);
        LocationSide after = CookChildOf(newClient, parent.after.data, child.newIndex, path);
        visitLocation({std::move(path), std::move(before), std::move(after), {}});
    }

    void visitLocation(Pair pair) {
        if (!pair.before.exists() && !pair.after.exists()) return;
        const bool isReordered = !pair.before.error && !pair.after.error && findChildren(pair);
        const VisitWish wish =
            visitor({pair.path, pair.before, pair.after, isReordered, pair.areAllChildrenTouched});
        isStopped = wish == VisitWish::Stop;
        if (wish == VisitWish::GoOn && !pair.children.empty()) open.push_back(std::move(pair));
    }

    /// Finds the children that may differ. Returns true when children of both scenes have another
    /// order. Reading a damaged file may throw an exception.
    bool findChildren(Pair& pair) const {
        try {
            return findChildrenOf(pair);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            NoteReadErrors(pair.before, pair.after);
            pair.children.clear();
            return false;
        }
    }

    bool findChildrenOf(Pair& pair) const {
        const StringAttribute& oldNames = pair.before.data.getPotentialChildren();
        const StringAttribute& newNames = pair.after.data.getPotentialChildren();
        WantedNames wanted(touched.childrenTowards(pair.path));
        pair.areAllChildrenTouched = wanted.areAll();
        if (!OxAttribute::HaveEqualContent(oldNames, newNames))
            return MergeChildren(oldNames, newNames, wanted, pair.children);
        const auto names = newNames.getNearestSample(0.0f);
        for (std::size_t i = 0; i < names.size() && !wanted.areAllTaken(); ++i) {
            const auto index = static_cast<std::int64_t>(i);
            if (wanted.take(names[i])) pair.children.push_back({index, index});
        }
        return false;
    }

    const std::shared_ptr<Client>& oldClient;
    const std::shared_ptr<Client>& newClient;
    const LocationSet& touched;
    const ComparisonVisitor& visitor;
    std::vector<Pair> open; // from the start down
    bool isStopped = false;
};

} // namespace

bool VisitBothScenes(const std::shared_ptr<Client>& oldClient,
                     const std::shared_ptr<Client>& newClient, const std::string& start,
                     const LocationSet& touched, const ComparisonVisitor& visitor) {
    return BothScenes(oldClient, newClient, touched, visitor).visit(start);
}

void NoteReadErrors(LocationSide& before, LocationSide& after) {
    const std::exception_ptr error = std::current_exception();
    before.error = ReadErrorOf(before.data);
    after.error = ReadErrorOf(after.data);
    if (!before.error && !after.error) after.error = error;
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

} // namespace TELLAR
