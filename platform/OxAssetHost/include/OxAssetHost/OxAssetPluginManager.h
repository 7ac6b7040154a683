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

    /// `mustResolve`: a reference that cannot be resolved throws std::runtime_error, which names
    /// the reference and why; otherwise it comes back as it is.
    virtual std::string resolvePath(const std::string& reference, int frame,
                                    bool mustResolve) const = 0;
};

/// The asset plug-ins of this process. Threads: any.
class OXASSETHOST_API OxAssetPluginManager {
public:
    /// Never null. The one set last, or else the built-in one (docs/assets.md). That one reads the
    /// environment, which nobody may change while it resolves.
    static std::shared_ptr<const OxAssetPlugin> getDefaultAssetPlugin();
    /// Lets a host resolve references its own way; null restores the built-in plug-in. The one
    /// before goes away when the last caller who holds it lets go of it.
    static void setDefaultAssetPlugin(std::shared_ptr<const OxAssetPlugin> plugin);

    OxAssetPluginManager() = delete;
};

#endif
