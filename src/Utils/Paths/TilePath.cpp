#include <OxTellarProducers/TilePath.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/path.hpp>

#include <OxConfiguration/Configuration.h>

#include "NamedLogger.h"

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using boost::algorithm::contains;
using boost::filesystem::path;

const NamedLogger kLogger("RenderOutputUtils");

constexpr const char* kTemplateKey = "OMBRA_TILE_FILENAME";

/// What placeholders stand for.
struct TileTexts {
    TileTexts(const path& picture, const std::vector<int>& tile)
        : column(std::to_string(tile[0])), row(std::to_string(tile[1])),
          hasCounts(tile.size() >= 4),
          columns(hasCounts ? std::to_string(tile[2]) : "UnknownColumns"),
          rows(hasCounts ? std::to_string(tile[3]) : "UnknownRows"), stem(picture.stem().string()),
          extension(picture.extension().string()),
          defaultName("tile_" + column + "_" + row + "." + stem + extension) {}

    std::string column, row;
    bool hasCounts;
    std::string columns, rows;
    std::string stem, extension;
    std::string defaultName;
};

bool IsUsable(const std::string& nameTemplate) {
    return (contains(nameTemplate, "@COLUMN@") && contains(nameTemplate, "@ROW@") &&
            contains(nameTemplate, "@STEM@") && contains(nameTemplate, "@EXT@")) ||
           contains(nameTemplate, "@DEFAULT@");
}

bool UsesCounts(const std::string& nameTemplate) {
    return contains(nameTemplate, "@COLUMNS@") || contains(nameTemplate, "@ROWS@");
}

void WarnAboutTemplate(const std::string& nameTemplate, const char* what, LogPlace place = {}) {
    kLogger.warn({"{} (defined as \"{}\") {}", place}, kTemplateKey, nameTemplate, what);
}

/// One placeholder after the other: texts put in may hold placeholders that come later.
std::string FillIn(std::string text, const TileTexts& texts) {
    const std::pair<const char*, const std::string&> replacements[] = {
        {"@DEFAULT@", texts.defaultName}, {"@COLUMNS@", texts.columns}, {"@COLUMN@", texts.column},
        {"@ROWS@", texts.rows},           {"@ROW@", texts.row},         {"@STEM@", texts.stem},
        {"@EXT@", texts.extension}};
    for (const auto& [placeholder, replacement] : replacements)
        boost::algorithm::replace_all(text, placeholder, replacement);
    return text;
}

} // namespace

std::string ProcessTilePath(const std::string& picturePath, const std::vector<int>& tile) {
    if (tile.size() < 2) {
        kLogger.error("Invalid tile data size. Expected at least two elements (column and row).");
        return picturePath;
    }
    const path picture(picturePath);
    const path folder = picture.parent_path();
    const TileTexts texts(picture, tile);
    std::string defaultPath = (folder / texts.defaultName).string();
    if (!Config()->has(kTemplateKey)) return defaultPath;

    const std::string nameTemplate = Config()->get(kTemplateKey);
    if (!IsUsable(nameTemplate)) {
        WarnAboutTemplate(nameTemplate,
                          "should contain @COLUMN@, @ROW@, @STEM@ and @EXT@, or @DEFAULT@");
        return defaultPath;
    }
    if (!texts.hasCounts && UsesCounts(nameTemplate))
        WarnAboutTemplate(nameTemplate,
                          "is using @COLUMNS@ or @ROWS@, but tiles count is not available.");
    const path result(FillIn(nameTemplate, texts));
    return result.is_absolute() ? result.string() : (folder / result).string();
}

} // namespace TELLAR::RenderOutputUtilsHost
