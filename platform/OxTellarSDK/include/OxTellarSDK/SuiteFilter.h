#ifndef OXTELLARSDK_SUITEFILTER_H
#define OXTELLARSDK_SUITEFILTER_H

#include <functional>
#include <string_view>

#include <OxTellarSDK/Export.h>

/// Functions that exchange the function tables between plug-ins and their host. Layers that watch
/// or answer calls, such as validation, put their own tables in place of the real ones.

namespace OxPluginManager {

/// The name under which filters see the functions for a cook, OxCookSuite, with version 1.
inline constexpr const char* kCookSuiteName = "OpTypeCooks";

/// A function table on its way to the code that asked for it. The names live as long as the call.
struct SuiteOffer {
    /// The plug-in that the table belongs to; empty for a table that the host offers to plug-ins.
    std::string_view pluginName;
    std::string_view apiName;
    unsigned int apiVersion = 0;
    /// The table, or what an earlier filter put in its place. Never null.
    const void* suite = nullptr;
};

/// Returns the table to hand out: the offered one, one that stands in for it and lives to the end
/// of the process, or null to hide it. Any thread may call it, several at once. It must return the
/// same table every time for one offer, and must not throw.
using SuiteFilter = std::function<const void*(const SuiteOffer& offer)>;

/// Adds a filter to the chain of this process; there is no way to remove it. Each filter gets what
/// the one added before it returned, so calls pass through the last one first.
///
/// The chain applies to OxPluginHost's getSuite and getPluginSuite, to
/// PluginManager::getPluginSuite, and to both sides of op types in C, from now on: add filters
/// before plug-ins are loaded. Any thread may call this.
OXTELLARSDK_API void AddSuiteFilter(SuiteFilter filter);

/// The table that the chain hands out for an offer; null when a filter hides it.
OXTELLARSDK_API const void* FilteredSuite(const SuiteOffer& offer);

} // namespace OxPluginManager

#endif
