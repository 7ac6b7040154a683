#include "RendererOptions.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <CLI/CLI.hpp>

#include "Output.h"
#include "Terminal.h"
#include "files/ReplacingFile.h"

namespace TellarTool {

void AddRendererOptions(CLI::App& command, RendererOptions& options) {
    command
        .add_option("-o", options.picture,
                    "The picture, whose extension tells the format; - is standard output")
        ->required()
        ->option_text("PICTURE");
    AddRenderer(command, options);
}

void AddRenderer(CLI::App& command, RendererOptions& options) {
    command
        .add_option("--renderer", options.renderer,
                    options.renderer.empty()
                        ? "The plug-in that does it; the recorded one unless given"
                        : "The plug-in that does it, \"" + options.renderer + "\" unless given")
        ->option_text("NAME");
    command.add_flag("--verbose", options.isVerbose,
                     "Print what the renderer has to say besides warnings and errors");
}

void CheckPicture(const RendererOptions& options, const std::string& option) {
    if (options.picture == kStandardOutput) {
        if (IsTerminal(stdout))
            throw std::runtime_error(option +
                                     ": a picture is not for a terminal; redirect the output");
        return;
    }
    if (TellarInternal::IsDeviceOrPipe(options.picture)) return;
    const std::filesystem::path path = options.picture;
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    std::error_code ignored;
    if (path.extension().string().size() < 2)
        throw std::runtime_error(option + ": \"" + options.picture +
                                 "\" has no extension, which would tell the format");
    if (!std::filesystem::is_directory(folder, ignored))
        throw std::runtime_error(option + ": there is no folder \"" + folder.string() + "\"");
    if (std::filesystem::is_directory(path, ignored))
        throw std::runtime_error(option + ": \"" + options.picture + "\" is a folder");
}

} // namespace TellarTool
