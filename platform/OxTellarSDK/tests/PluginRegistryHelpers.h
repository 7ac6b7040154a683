#ifndef OXTELLARSDK_TESTS_PLUGINREGISTRYHELPERS_H
#define OXTELLARSDK_TESTS_PLUGINREGISTRYHELPERS_H

#include <ostream>
#include <stdexcept>
#include <string>

#include "PluginRegistry.h"
#include "plugins/TestShapesSuite.h"

namespace OxPluginManager {

inline bool operator==(const RefusedPlugin& a, const RefusedPlugin& b) {
    return a.file == b.file && a.reason == b.reason;
}

inline void PrintTo(const RefusedPlugin& refused, std::ostream* out) {
    *out << refused.file << ": " << refused.reason;
}

} // namespace OxPluginManager

/// The suite of one of the test plug-ins, which counts the calls to its library.
inline const TestShapesSuite& SuiteOf(OxPluginManager::PluginRegistry& registry,
                                      const std::string& name = "sphere",
                                      unsigned int apiVersion = 2) {
    const auto* const plugin = registry.plugin(name, "TestShapes", apiVersion);
    const void* const suite = registry.pluginSuite(plugin);
    if (!suite) throw std::runtime_error("The plug-in " + name + " has no suite");
    return *static_cast<const TestShapesSuite*>(suite);
}

/// The address of one of ten hosts. Only the plug-ins ever look into a host, and these do not.
inline OxPluginHost* HostNumber(int number) {
    static int addresses[10] = {};
    return reinterpret_cast<OxPluginHost*>(&addresses[number]);
}

#endif
