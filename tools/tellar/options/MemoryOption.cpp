#include "MemoryOption.h"

#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/MemoryBudget.h>

#include "Process.h"

namespace TellarTool {

namespace {

void SetLimit(const std::string& text) {
    std::string error;
    const auto bytes = OxTellarMemory::ParseMemorySize(text, &error);
    if (!bytes) throw CLI::ValidationError("--memory", error);
    OxTellarMemory::SetMemoryLimit(*bytes);
    SetEnvironment("OX_CONFIG_MEMORY_LIMIT", text); // for the programs that the command starts
}

/// The names of the arguments and options of all subcommands that open scenes.
bool OpensScenes(const CLI::App& command) {
    for (const char* name : {"SCENE", "A", "CAPTURE", "IN"})
        if (command.get_option_no_throw(name)) return true;
    return false;
}

} // namespace

void AddMemoryOption(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands({}))
        if (OpensScenes(*command))
            command
                ->add_option_function<std::string>(
                    "--memory", SetLimit,
                    "Keep no more than this in memory of what can be made again, such as 512M or "
                    "2G (default: half of the machine's memory)")
                ->option_text("SIZE");
}

} // namespace TellarTool
