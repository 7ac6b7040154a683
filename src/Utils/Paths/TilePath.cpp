#include <OxTellarProducers/TilePath.h>

#include <array>
#include <optional>
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

/// The texts that placeholders stand for, in the order of filling them in, because a text may hold
/// placeholders that come later. The first is the default name.
using Placeholders = std::array<std::pair<const char*, std::string>, 7>;

/// `tile` has two or more elements: column and row, columns and rows.
Placeholders PlaceholdersOf(const path& picture, const std::vector<int>& tile) {
    const bool hasCounts = tile.size() >= 4;
    const std::string column = std::to_string(tile[0]);
    const std::string row = std::to_string(tile[1]);
    const std::string stem = picture.stem().string();
    const std::string extension = picture.extension().string();
    return {{{"@DEFAULT@", "tile_" + column + "_" + row + "." + stem + extension},
             {"@COLUMNS@", hasCounts ? std::to_string(tile[2]) : "UnknownColumns"},
             {"@COLUMN@", column},
             {"@ROWS@", hasCounts ? std::to_string(tile[3]) : "UnknownRows"},
             {"@ROW@", row},
             {"@STEM@", stem},
             {"@EXT@", extension}}};
}

/// The configured name of a tile's file with its placeholders. Empty if none is configured, or if
/// it would not keep tiles apart.
std::optional<std::string> NameTemplate(bool hasCounts) {
    if (!Config()->has(kTemplateKey)) return std::nullopt;
    std::string name = Config()->get(kTemplateKey);
    const auto has = [&name](const char* placeholder) {
        return boost::contains(name, placeholder);
    };
    if (!has("@DEFAULT@") && !(has("@COLUMN@") && has("@ROW@") && has("@STEM@") && has("@EXT@"))) {
        kLogger.warn("{} (defined as \"{}\") should contain @COLUMN@, @ROW@, @STEM@ and @EXT@, or "
                     "@DEFAULT@",
                     kTemplateKey, name);
        return std::nullopt;
    }
    if (!hasCounts && (has("@COLUMNS@") || has("@ROWS@")))
        kLogger.warn("{} (defined as \"{}\") is using @COLUMNS@ or @ROWS@, but tiles count is not "
                     "available.",
                     kTemplateKey, name);
    return name;
}

} // namespace

std::string ProcessTilePath(const std::string& picturePath, const std::vector<int>& tile) {
    if (tile.size() < 2) {
        kLogger.error("Invalid tile data size. Expected at least two elements (column and row).");
        return picturePath;
    }
    const path picture(picturePath);
    const Placeholders placeholders = PlaceholdersOf(picture, tile);
    std::optional<std::string> name = NameTemplate(tile.size() >= 4);
    if (!name) return (picture.parent_path() / placeholders.front().second).string();
    for (const auto& [placeholder, text] : placeholders)
        boost::replace_all(*name, placeholder, text);
    const path result(*name);
    return result.is_absolute() ? result.string() : (picture.parent_path() / result).string();
}

} // namespace TELLAR::RenderOutputUtilsHost
