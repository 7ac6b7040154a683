#include <OxTellarSDK/SuiteFilter.h>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace OxPluginManager {

namespace {

using Filters = std::vector<SuiteFilter>;

// The filters in the order in which they were added. The list is replaced as a whole, because
// filters run outside of the lock.
struct Chain {
    std::mutex mutex;
    std::shared_ptr<const Filters> filters = std::make_shared<const Filters>();
};

Chain& GetChain() {
    static Chain* const chain = new Chain;
    return *chain;
}

std::shared_ptr<const Filters> PresentFilters() {
    Chain& chain = GetChain();
    const std::lock_guard<std::mutex> lock(chain.mutex);
    return chain.filters;
}

} // namespace

void AddSuiteFilter(SuiteFilter filter) {
    Chain& chain = GetChain();
    const std::lock_guard<std::mutex> lock(chain.mutex);
    Filters filters = *chain.filters;
    filters.push_back(std::move(filter));
    chain.filters = std::make_shared<const Filters>(std::move(filters));
}

const void* FilteredSuite(const SuiteOffer& offer) {
    SuiteOffer passed = offer;
    const auto filters = PresentFilters();
    for (const SuiteFilter& filter : *filters) {
        if (!passed.suite) return nullptr;
        passed.suite = filter(passed);
    }
    return passed.suite;
}

} // namespace OxPluginManager
