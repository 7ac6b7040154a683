#include "Subcommands.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "Output.h"
#include "Pack.h"
#include "Scene.h"
#include "SceneFiles.h"
#include "SceneOptions.h"
#include "StagedFolder.h"
#include "StopSignals.h"
#include "TemporaryFolder.h"
#include "ZipFile.h"
#include "files/ReplacingFile.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kExamples = R"(Examples:
  tellar pack examples/garden.json garden           a folder that can be moved
  tellar pack robot.glb robot.zip)";

struct PackOptions {
    std::string scene;
    std::string target;
    bool allowMissing = false;
    bool overwrite = false;
};

bool IsZip(const std::string& path) {
    return CLI::detail::to_lower(fs::path(path).extension().string()) == ".zip";
}

/// Returns the path of the scene in the pack.
std::string PackFolder(const PackOptions& options) {
    StagedFolder::check(options.target);
    const Scene scene(options.scene);
    const SceneFiles files = FindFilesToPack(scene, options.allowMissing);
    const StopSignals signals; // a signal then unwinds and removes the unfinished folder
    StagedFolder folder(options.target);
    const fs::path written = WritePack(scene, files, folder.getPath(), signals);
    folder.putInPlace();
    return (fs::path(options.target) / written.filename()).string();
}

void CheckZip(const PackOptions& options) {
    std::error_code ignored;
    const fs::file_status status = fs::status(options.target, ignored);
    if (!fs::exists(status)) return;
    if (!fs::is_regular_file(status))
        throw std::runtime_error(options.target + ": is not a regular file");
    if (!options.overwrite)
        throw std::runtime_error(options.target + ": is there already; --overwrite replaces it");
}

void PackZip(const PackOptions& options) {
    CheckZip(options);
    const Scene scene(options.scene);
    const SceneFiles files = FindFilesToPack(scene, options.allowMissing);
    const StopSignals signals;
    const TemporaryFolder folder;
    const std::string name = fs::path(options.target).stem().string();
    WritePack(scene, files, folder.file(name), signals);
    const std::string file = TellarInternal::BehindLinks(options.target);
    WriteZip(file.empty() ? options.target : file, folder.file(name), name, signals);
}

void RunPack(const PackOptions& options) {
    if (options.target.empty()) throw std::runtime_error("TARGET: the path is empty");
    if (IsZip(options.target)) {
        PackZip(options);
        WriteOutput(options.target + '\n');
    } else {
        if (options.overwrite)
            throw std::runtime_error("--overwrite: only a zip file is replaced, never a folder");
        WriteOutput(PackFolder(options) + '\n');
    }
    FlushOutput();
}

} // namespace

void AddPackCommand(CLI::App& app) {
    const auto options = std::make_shared<PackOptions>();
    CLI::App& command =
        *app.add_subcommand("pack", "Gather a scene and all of its files in a folder or zip file");
    AddScene(command, options->scene)->required();
    command
        .add_option("TARGET", options->target,
                    "The folder to make, or a file whose extension is .zip")
        ->required()
        ->option_text(" ");
    command.add_flag("--allow-missing", options->allowMissing,
                     "Pack the scene although some of its files are missing");
    command.add_flag("--overwrite", options->overwrite, "Replace an older zip file");
    command.footer(kExamples);
    command.callback([options] { RunPack(*options); });
}

} // namespace TellarTool
