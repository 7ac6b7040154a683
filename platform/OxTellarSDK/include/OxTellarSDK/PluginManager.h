#ifndef OXTELLARSDK_PLUGINMANAGER_H
#define OXTELLARSDK_PLUGINMANAGER_H

#include <string>
#include <vector>

#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/OxPluginApi.h>

namespace OxPluginManager {

/// One plug-in. Stays valid for as long as the process lives; null for none.
using PluginHandle = const OxPluginRecord_v1*;

/// A file or folder on the search path that was passed over, and why.
struct RefusedPlugin {
    std::string file;
    std::string reason;
};

/// The plug-ins of this process.
///
/// They come from the folders in the environment variable OX_PLUGIN_PATH (separated by ':',
/// on Windows by ';'), then from those given to addSearchPath, then from "tellar-plugins"
/// beside the library that holds this class. The first query loads every file in them that
/// has the system's suffix for loadable modules, in alphabetical order within a folder.
/// Of several plug-ins with the same API, version and name the first one counts. Libraries
/// are never unloaded.
///
/// A file that is no plug-in library, or whose functions throw or return nonsense, is
/// passed over with one warning of the logger "PluginManager" that names the file and the
/// reason; refused() lists them. A folder that cannot be read is treated likewise, except
/// that the built-in one may be absent. Nothing here throws on account of a plug-in.
///
/// Every function may be called from any number of threads at once. A query waits while
/// another thread loads; a plug-in that queries while it is being loaded itself sees the
/// plug-ins loaded before it, but must not wait for another thread that queries.
class OXTELLARSDK_API PluginManager {
public:
    /// Assigns the names of the plug-ins of one API and version, in the order found.
    static void getPluginNames(const std::string& apiName, std::vector<std::string>& names,
                               unsigned int apiVersion);

    /// Null when there is no such plug-in.
    static PluginHandle getPlugin(const std::string& name, const std::string& apiName,
                                  unsigned int apiVersion);

    /// The plug-in's function table; null when the handle is null or none of ours, and
    /// when the plug-in gives none.
    static const void* getPluginSuite(PluginHandle plugin);

    /// The library file that the plug-in came from, as an absolute path; empty when the
    /// handle is null or none of ours.
    static std::string getPluginPath(PluginHandle plugin);

    /// Assigns the names of all APIs that plug-ins implement, in the order found.
    static void getApiNames(std::vector<std::string>& names);

    /// Assigns the versions of one API that plug-ins implement, in ascending order.
    static void getPluginApiVersions(const std::string& apiName,
                                     std::vector<unsigned int>& versions);

    /// Asks the plug-in to drop its caches. Nothing for a handle that is null or none of ours.
    static void flushSpecificPluginCache(PluginHandle plugin);

    /// Adds a folder; the next query loads what is in it, and nothing of the other folders
    /// again. A folder that is on the search path already changes nothing.
    static void addSearchPath(const std::string& path);

    /// The folders as absolute paths, in the order in which they are searched. A folder
    /// added after the first query comes last.
    static std::vector<std::string> searchPaths();

    /// The folder of this name beside the library that holds this class, whether or not it is
    /// there: for addSearchPath, where plug-ins that few programs want are installed beside the
    /// built-in ones. Empty when the system does not tell where the library is.
    static std::string installedFolder(const std::string& name);

    /// What was passed over so far, in the order found.
    static std::vector<RefusedPlugin> refused();

    /// Adds a plug-in to what is passed over, with one warning: for whoever asks the plug-ins of
    /// an API for what they offer and finds one that cannot be used. It is still found by its
    /// name. Nothing for a handle that is null or none of ours.
    static void refuse(PluginHandle plugin, const std::string& reason);

    /// Gives the host, or null, to every plug-in that is loaded and, unless it is null, to
    /// each one loaded later. A plug-in that does not accept the host as it is loaded is
    /// passed over; one that was loaded before stays, with a warning. The host must outlive
    /// all use of plug-ins.
    static void setHost(OxPluginHost* host);

    PluginManager() = delete;
};

} // namespace OxPluginManager

#endif
