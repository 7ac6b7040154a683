#ifndef OXASSETHOST_OXASSETPLUGINMANAGER_H
#define OXASSETHOST_OXASSETPLUGINMANAGER_H

#include <memory>
#include <string>

#include <OxAssetHost/Export.h>

/// Turns asset references, as artists write them, into what a program can open.
/// Threads: resolvePath may be called from any number of threads at once.
class OXASSETHOST_API OxAssetPlugin {
public:
    virtual ~OxAssetPlugin();

    /// A reference that cannot be resolved is returned as it is, or with `mustResolve` throws
    /// std::runtime_error, which names the reference and the reason.
    virtual std::string resolvePath(const std::string& reference, int frame,
                                    bool mustResolve) const = 0;
};

/// The asset plug-ins of this process. Threads: any.
class OXASSETHOST_API OxAssetPluginManager {
public:
    /// The plug-in set last, or else the built-in one (docs/assets.md); never null. The built-in
    /// one reads the environment, which must not change while it resolves.
    static std::shared_ptr<const OxAssetPlugin> getDefaultAssetPlugin();
    /// Lets a host resolve references its own way; null restores the built-in plug-in. The previous
    /// plug-in is destroyed when its last user releases it.
    static void setDefaultAssetPlugin(std::shared_ptr<const OxAssetPlugin> plugin);

    OxAssetPluginManager() = delete;
};

#endif
