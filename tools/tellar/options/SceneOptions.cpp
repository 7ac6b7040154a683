#include "SceneOptions.h"

#include <stdexcept>

#include <CLI/CLI.hpp>

#include "LocationPaths.h"

namespace TellarTool {

CLI::Option* AddScene(CLI::App& command, std::string& path) {
    return command
        .add_option("SCENE", path,
                    "An op file, an op-tree description (attribute stream or JSON), or any scene "
                    "file that the op type SceneImport reads; - is standard input")
        ->option_text(" ");
}

CLI::Option* AddLocationPath(CLI::App& command, const std::string& name, std::string& location,
                             const std::string& help) {
    return command.add_option(name, location, help)
        ->transform(NormalLocation, "", "")
        ->option_text("PATH");
}

void AddLocation(CLI::App& command, std::string& location, const std::string& help) {
    AddLocationPath(command, "--at", location, help)->required();
}

void CheckLocationPath(const std::string& option, const std::string& path) {
    if (path.empty() || path.front() != '/')
        throw std::runtime_error(option + ": \"" + path + "\" is no absolute location path");
}

} // namespace TellarTool
