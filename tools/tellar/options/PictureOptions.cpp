#include "PictureOptions.h"

#include <CLI/CLI.hpp>

#include "NumberOption.h"
#include "NumberText.h"
#include "SettingOption.h"

namespace TellarTool {

namespace {

constexpr std::int32_t kMostSamples = 1000000;
constexpr std::int32_t kMostDepth = 100;

void CheckTilePlace(const std::string& what, std::int32_t place, std::int32_t count) {
    if (count < 1)
        throw CLI::ValidationError("--tile",
                                   "there cannot be " + std::to_string(count) + ' ' + what + 's');
    if (place < 0 || place >= count)
        throw CLI::ValidationError("--tile", "there is no " + what + ' ' + std::to_string(place) +
                                                 ": they count from 0 to " +
                                                 std::to_string(count - 1));
}

std::vector<std::int32_t> TileFromText(const std::string& text) {
    auto tile = NumberList<std::int32_t>("--tile", text, {4}, "C,R,CS,RS, such as 0,1,2,2");
    CheckTilePlace("column", tile[0], tile[2]);
    CheckTilePlace("row", tile[1], tile[3]);
    return tile;
}

void CheckCropRange(float least, float most) {
    if (least >= 0 && least < most && most <= 1) return;
    throw CLI::ValidationError("--crop", NumberText(least) + " to " + NumberText(most) +
                                             " is no range within 0 to 1");
}

std::vector<float> CropFromText(const std::string& text) {
    auto crop =
        NumberList<float>("--crop", text, {4}, "XMIN,XMAX,YMIN,YMAX, such as 0.25,0.75,0,1");
    CheckCropRange(crop[0], crop[1]);
    CheckCropRange(crop[2], crop[3]);
    return crop;
}

std::string SizeFromText(const std::string& text) {
    const std::size_t x = text.find('x');
    std::int32_t width = 0;
    std::int32_t height = 0;
    if (x == std::string::npos || !ReadNumber(text.substr(0, x), width) ||
        !ReadNumber(text.substr(x + 1), height) || width < 1 || height < 1)
        throw CLI::ValidationError("--size", '"' + text + "\" is not WxH, such as 1280x720");
    return std::to_string(width) + 'x' + std::to_string(height);
}

void AddSizeOptions(CLI::App& command, ChosenSettings& chosen) {
    CLI::Option* const resolution =
        command.add_option("--resolution", chosen.resolution, "The picture's size, by its name")
            ->option_text("NAME");
    command
        .add_option_function<std::string>(
            "--size",
            [&chosen](const std::string& text) {
                chosen.resolution = SizeFromText(text);
                chosen.resolutionOption = "--size";
            },
            "The picture's size in pixels")
        ->option_text("WxH")
        ->excludes(resolution);
}

/// Adds the options that choose the part of the picture to draw.
void AddPartOptions(CLI::App& command, ChosenSettings& chosen) {
    command
        .add_option_function<std::string>(
            "--tile", [&chosen](const std::string& text) { chosen.tile = TileFromText(text); },
            "Draw one tile of the picture: its column and row from 0, and how many there are")
        ->option_text("C,R,CS,RS");
    command
        .add_option_function<std::string>(
            "--crop",
            [&chosen](const std::string& text) { chosen.cropWindow = CropFromText(text); },
            "Draw only this part of the picture, which is 0 to 1 both ways")
        ->option_text("XMIN,XMAX,YMIN,YMAX");
}

} // namespace

void AddPictureOptions(CLI::App& command, ChosenSettings& chosen) {
    command
        .add_option("--camera", chosen.camera,
                    "Look through this camera instead of the scene's: a path, or a pattern of "
                    "paths or names")
        ->option_text("CAMERA");
    AddSizeOptions(command, chosen);
    AddPartOptions(command, chosen);
    command
        .add_option("--aov", chosen.aovs,
                    "Layers of the picture besides its colors: depth, normal, position, albedo, "
                    "id, motion, cryptomatte")
        ->delimiter(',')
        ->option_text("LAYER,...");
}

void AddQualityOptions(CLI::App& command, ChosenSettings& chosen, std::int32_t& samples) {
    AddCount(command, "--samples", samples, kMostSamples,
             "Paths per pixel; without it the scene or the renderer tells");
    AddNumber(command, "--noise", chosen.noise,
              "Stop where the picture has less noise than this, such as 0.02");
    AddNumber(command, "--minutes", chosen.minutes,
              "Stop after this time and write the picture so far");
    AddCount(command, "--max-depth", chosen.maxDepth, kMostDepth,
             "How often light may bounce; without it the scene or the renderer tells");
    AddNumber(command, "--exposure", chosen.exposure, "Make the picture lighter by N stops");
    AddSettings(command, chosen.others);
}

} // namespace TellarTool
