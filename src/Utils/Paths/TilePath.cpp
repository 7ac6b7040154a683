#include <OxTellarProducers/TilePath.h>

#include <utility>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/path.hpp>

#include <OxConfiguration/Configuration.h>

#include "NamedLogger.h"

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using boost::filesystem::path;

const NamedLogger kLogger("RenderOutputUtils");
constexpr const char* kTemplateKey = "OMBRA_TILE_FILENAME";

} // namespace

std::string ProcessTilePath(const std::string& picturePath, const std::vector<int>& tile) {
    if (tile.size() < 2) {
        kLogger.error("Invalid tile data size. Expected at least two elements (column and row).");
        return picturePath;
    }
    const path picture(picturePath);
    const path folder = picture.parent_path();
    const std::string column = std::to_string(tile[0]);
    const std::string row = std::to_string(tile[1]);
    const std::string stem = picture.stem().string();
    const std::string extension = picture.extension().string();
    const std::string defaultName = "tile_" + column + "_" + row + "." + stem + extension;
    std::string defaultPath = (folder / defaultName).string();
    if (!Config()->has(kTemplateKey)) return defaultPath;

    std::string name = Config()->get(kTemplateKey);
    const auto has = [&name](const char* placeholder) {
        return boost::contains(name, placeholder);
    };
    if (!has("@DEFAULT@") && !(has("@COLUMN@") && has("@ROW@") && has("@STEM@") && has("@EXT@"))) {
        kLogger.warn("{} (defined as \"{}\") should contain @COLUMN@, @ROW@, @STEM@ and @EXT@, or "
                     "@DEFAULT@",
                     kTemplateKey, name);
        return defaultPath;
    }
    const bool hasCounts = tile.size() >= 4;
    if (!hasCounts && (has("@COLUMNS@") || has("@ROWS@")))
        kLogger.warn("{} (defined as \"{}\") is using @COLUMNS@ or @ROWS@, but tiles count is not "
                     "available.",
                     kTemplateKey, name);
    // In this order: a text that is filled in may hold placeholders that come later.
    const std::pair<const char*, std::string> replacements[] = {
        {"@DEFAULT@", defaultName},
        {"@COLUMNS@", hasCounts ? std::to_string(tile[2]) : "UnknownColumns"},
        {"@COLUMN@", column},
        {"@ROWS@", hasCounts ? std::to_string(tile[3]) : "UnknownRows"},
        {"@ROW@", row},
        {"@STEM@", stem},
        {"@EXT@", extension}};
    for (const auto& [placeholder, text] : replacements)
        boost::replace_all(name, placeholder, text);
    const path result(name);
    return result.is_absolute() ? result.string() : (folder / result).string();
}

} // namespace TELLAR::RenderOutputUtilsHost
