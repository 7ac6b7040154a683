#ifndef TELLAR_TOOL_SETTINGOPTION_H
#define TELLAR_TOOL_SETTINGOPTION_H

#include <string>
#include <vector>

#include <OxTellarProducers/RenderSettingsReport.h>

namespace CLI {
class App;
}

namespace TellarTool {

/// A render setting by its dotted name, its value, and the option that sets it.
using ChosenSetting = TELLAR::RenderSettingOverride;

/// The option --set KEY=VALUE, which may be given several times. The value is an integer, a number
/// or a list of them between commas; anything else is a string, and so is text between quotation
/// marks. `settings` must outlive the parsing.
void AddSettings(CLI::App& command, std::vector<ChosenSetting>& settings);

/// A hint for each setting whose name is nearly, but not exactly, that of a usual one.
std::vector<std::string> HintsAbout(const std::vector<ChosenSetting>& settings);

} // namespace TellarTool

#endif
