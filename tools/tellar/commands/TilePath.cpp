#include "Subcommands.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxConfiguration/Configuration.h>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarProducers/TilePath.h>

#include "NumberOption.h"
#include "Output.h"
#include "Process.h"

namespace TellarTool {

namespace {

constexpr const char* kExamples = R"(Examples:
  tellar tile-path /out/beauty.exr --tile 2,3
  tellar tile-path /out/beauty.exr --tile 2,3,8,8 --template '@STEM@_c@COLUMN@_r@ROW@@EXT@')";

struct TilePathOptions {
    std::string path;
    std::vector<int> tile;
    std::optional<std::string> nameTemplate; // absent: the configuration's, if any
};

/// Prints the library's warnings about templates as warnings of the command.
void ShowWarnings() {
    if (AreLogMessagesWanted()) return;
    auto previous = std::make_shared<OxLogSink>();
    *previous = OxLoggingSetSink([previous](const OxLogMessage& message) {
        if (message.loggerName == "RenderOutputUtils" && message.level == OxLogLevel::warn)
            WriteErrorLine("warning: " + message.text);
        else if (*previous)
            (*previous)(message);
    });
}

void RunTilePath(const TilePathOptions& options) {
    ShowWarnings();
    if (options.nameTemplate) {
        SetEnvironment("OX_CONFIG_OMBRA_TILE_FILENAME", *options.nameTemplate);
        Config()->reload();
    }
    WriteOutput(TELLAR::RenderOutputUtilsHost::ProcessTilePath(options.path, options.tile) + '\n');
    FlushOutput();
}

} // namespace

void AddTilePathCommand(CLI::App& app) {
    const auto options = std::make_shared<TilePathOptions>();
    CLI::App& command =
        *app.add_subcommand("tile-path", "Print where a tile of a picture is written");
    command.add_option("PATH", options->path, "The file of the whole picture")
        ->required()
        ->option_text(" ");
    command
        .add_option_function<std::string>(
            "--tile",
            [options](const std::string& text) {
                options->tile = NumberList<std::int32_t>(
                    "--tile", text, {2, 4}, "C,R or C,R,CS,RS, such as 2,3 or 2,3,8,8");
            },
            "The tile's column and row and, if known, how many columns and rows there are")
        ->required()
        ->option_text("C,R[,CS,RS]");
    command
        .add_option("--template", options->nameTemplate,
                    "How the file is named, in place of the configuration's OMBRA_TILE_FILENAME: "
                    "a text with @COLUMN@, @ROW@, @STEM@ and @EXT@, or with @DEFAULT@")
        ->option_text("TEMPLATE");
    command.footer(kExamples);
    command.callback([options] { RunTilePath(*options); });
}

} // namespace TellarTool
