#ifndef OXASSETHOST_DEFAULTASSETPLUGIN_H
#define OXASSETHOST_DEFAULTASSETPLUGIN_H

#include <OxAssetHost/OxAssetPluginManager.h>

/// The built-in asset plug-in: home folders, environment variables, frame tokens and the search
/// path of the configuration. docs/assets.md has the rules and all texts. It has no state of its
/// own, so any number of threads may use it while the environment does not change.
class DefaultAssetPlugin final : public OxAssetPlugin {
public:
    std::string resolvePath(const std::string& reference, int frame,
                            bool mustResolve) const override;
};

#endif
