#include "SceneOptions.h"

#include <stdexcept>

#include <CLI/CLI.hpp>

namespace TellarTool {

CLI::Option* AddScene(CLI::App& command, std::string& path) {
    return command
        .add_option("SCENE", path,
                    "An op file, an op-tree description (attribute stream or JSON), or any scene "
                    "file that the op type SceneImport reads")
        ->option_text(" ");
}

void AddLocation(CLI::App& command, std::string& location, const std::string& help) {
    command.add_option("--at", location, help)->required()->option_text("PATH");
}

void CheckLocationPath(const std::string& option, const std::string& path) {
    if (path.empty() || path.front() != '/')
        throw std::runtime_error(option + ": \"" + path + "\" is no absolute location path");
}

} // namespace TellarTool
