#ifndef OXTELLARSDK_PLUGINMANAGER_H
#define OXTELLARSDK_PLUGINMANAGER_H

#include <string>
#include <vector>

#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/OxPluginApi.h>

namespace OxPluginManager {

/// A plug-in, or null for none. Valid until the process ends.
using PluginHandle = const OxPluginRecord_v1*;

/// A file or folder on the search path that was refused, and why.
struct RefusedPlugin {
    std::string file;
    std::string reason;
};

/// The plug-ins of this process.
///
/// They come from the folders in the environment variable OX_PLUGIN_PATH (separated by ':', on
/// Windows by ';'), then from those given to addSearchPath, then from "tellar-plugins" beside the
/// library that holds this class. The first query loads every file in them that has the system's
/// suffix for loadable modules, in alphabetical order within a folder. Of several plug-ins with the
/// same API, version and name the first one is used. Libraries are never unloaded.
///
/// A file that is not a plug-in library, or whose functions throw or return invalid values, is
/// refused with one warning of the logger "PluginManager" that names the file and the reason.
/// refused() lists such files. Folders that cannot be read are treated in the same way, except that
/// the built-in one may be absent. No function here throws because of a plug-in.
///
/// Threads: any number of threads may call any function at once. A query waits while another thread
/// loads. A plug-in that queries while it is being loaded sees the plug-ins loaded before it; it
/// must not wait for another thread that queries.
class OXTELLARSDK_API PluginManager {
public:
    /// Assigns the names of the plug-ins of one API and version, in the order found.
    static void getPluginNames(const std::string& apiName, std::vector<std::string>& names,
                               unsigned int apiVersion);

    /// Returns null when there is no such plug-in.
    static PluginHandle getPlugin(const std::string& name, const std::string& apiName,
                                  unsigned int apiVersion);

    /// The plug-in's function table, as the filters of OxTellarSDK/SuiteFilter.h pass it on; null
    /// when the handle is null or unknown, and when the plug-in gives none.
    static const void* getPluginSuite(PluginHandle plugin);

    /// The absolute path of the library that the plug-in came from; empty when the handle is null
    /// or unknown.
    static std::string getPluginPath(PluginHandle plugin);

    /// Assigns the names of all APIs that plug-ins implement, in the order found.
    static void getApiNames(std::vector<std::string>& names);

    /// Assigns the versions of one API that plug-ins implement, in ascending order.
    static void getPluginApiVersions(const std::string& apiName,
                                     std::vector<unsigned int>& versions);

    /// Asks the plug-in to drop its caches. Does nothing when the handle is null or unknown.
    static void flushSpecificPluginCache(PluginHandle plugin);

    /// Adds a folder to the search path unless it is on it already. The next query loads the new
    /// folder, and does not load the others again.
    static void addSearchPath(const std::string& path);

    /// The folders as absolute paths, in the order in which they are searched. A folder
    /// added after the first query comes last.
    static std::vector<std::string> searchPaths();

    /// The path of a folder beside the library that holds this class; it may be missing. Pass it to
    /// addSearchPath for installed plug-ins that few programs want. Empty when the system does not
    /// tell where the library is.
    static std::string installedFolder(const std::string& name);

    /// The files and folders refused so far, in the order found.
    static std::vector<RefusedPlugin> refused();

    /// Adds a plug-in to the refused ones, with one warning. For programs that find a plug-in of
    /// their API unusable. Queries still find the plug-in. Does nothing when the handle is null or
    /// unknown.
    static void refuse(PluginHandle plugin, const std::string& reason);

    /// Gives the host, or null, to every loaded plug-in and, unless it is null, to those loaded
    /// later. A plug-in that does not accept the host while it is loaded is refused; one that was
    /// loaded before stays, with a warning. The host must outlive all use of plug-ins.
    static void setHost(OxPluginHost* host);

    PluginManager() = delete;
};

} // namespace OxPluginManager

#endif
