#include "SettingOption.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/Attribute.h>

#include "NumberText.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

Attribute ValueFromText(const std::string& text) {
    if (const auto integers = ReadNumbers<std::int32_t>(text)) return IntAttribute(*integers, 1);
    if (const auto numbers = ReadNumbers<double>(text)) return DoubleAttribute(*numbers, 1);
    const bool isQuoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return StringAttribute(isQuoted ? std::string_view(text).substr(1, text.size() - 2) : text);
}

/// True for names such as "lantern.maxDepth", whose levels all have names.
bool IsDottedName(std::string_view name) {
    return !name.empty() && name.front() != '.' && name.back() != '.' &&
           name.find("..") == std::string_view::npos;
}

ChosenSetting SettingFromText(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || !IsDottedName(text.substr(0, equals)))
        throw CLI::ValidationError("--set",
                                   '"' + text + "\" is not KEY=VALUE, such as lantern.maxDepth=4");
    return {text.substr(0, equals), ValueFromText(text.substr(equals + 1)), "--set"};
}

} // namespace

void AddSettings(CLI::App& command, std::vector<ChosenSetting>& settings) {
    command
        .add_option_function<std::vector<std::string>>(
            "--set",
            [&settings](const std::vector<std::string>& texts) {
                for (const std::string& text : texts)
                    settings.push_back(SettingFromText(text));
            },
            "Set any render setting, such as lantern.maxDepth=4; may be given several times")
        ->take_all()
        ->allow_extra_args(false)
        ->option_text("KEY=VALUE");
}

std::vector<std::string> HintsAbout(const std::vector<ChosenSetting>& settings) {
    std::vector<std::string> hints;
    for (const ChosenSetting& setting : settings) {
        if (TELLAR::FindKnownRenderSetting(setting.name)) continue;
        const std::string question =
            TellarInternal::MeantQuestion(TELLAR::SimilarRenderSettings(setting.name));
        if (!question.empty())
            hints.push_back("--set: \"" + setting.name + "\" is not a usual setting" + question);
    }
    return hints;
}

} // namespace TellarTool
