#ifndef TELLAR_TEST_PLUGINFOLDER_H
#define TELLAR_TEST_PLUGINFOLDER_H

#include <filesystem>
#include <string>

#include "TempDirectory.h"

/// A temporary folder to put test plug-ins in. Each installed copy is a library of its own
/// to the loader, with a state of its own, so that tests cannot see each other's.
class PluginFolder : public TempDirectory {
public:
    /// Copies the test plug-in to a file of this name and returns its path.
    std::string install(const std::string& plugin, const std::string& fileName) const {
        const std::string source = std::string(TELLAR_TEST_PLUGIN_DIR) + '/' + plugin + ".module";
        std::filesystem::copy_file(source, path(fileName));
        return path(fileName);
    }
};

#endif
