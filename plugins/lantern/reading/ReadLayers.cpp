#include "reading/ReadLayers.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Report.h"

namespace lantern {

namespace {

struct NamedLayer {
    const char* name;
    bool LayerChoice::*choice;
};

constexpr NamedLayer kLayers[] = {{"depth", &LayerChoice::depth},
                                  {"normal", &LayerChoice::normal},
                                  {"position", &LayerChoice::position},
                                  {"albedo", &LayerChoice::albedo},
                                  {"id", &LayerChoice::id},
                                  {"motion", &LayerChoice::motion},
                                  {"cryptoObject", &LayerChoice::objectMatte},
                                  {"cryptoMaterial", &LayerChoice::materialMatte},
                                  {"cryptoAsset", &LayerChoice::assetMatte}};

void Choose(std::string_view name, LayerChoice& choice) {
    bool isKnown = name.empty();
    std::string all;
    for (const NamedLayer& layer : kLayers) {
        const bool isAnyMatte =
            name == "cryptomatte" && std::string_view(layer.name).rfind("crypto", 0) == 0;
        if (name == layer.name || isAnyMatte) choice.*layer.choice = isKnown = true;
        all += std::string(layer.name) + ", ";
    }
    if (!isKnown)
        throw RenderError("\"renderSettings.aovs\" has \"" + std::string(name) +
                          "\", which is no layer; there are " + all +
                          "and cryptomatte for the last three");
}

} // namespace

LayerChoice ReadLayers(const Location& root) {
    LayerChoice choice;
    const Attribute setting = root.attribute("renderSettings.aovs");
    if (setting && !setting.isText())
        throw RenderError("\"renderSettings.aovs\" must be strings, the names of layers");
    for (std::int64_t i = 0; i < setting.count(); ++i) {
        const char* const text = setting.textAt(i);
        std::string_view names = text ? text : "";
        for (std::size_t comma = 0; comma != std::string_view::npos;) {
            comma = names.find(',');
            Choose(names.substr(0, comma), choice);
            if (comma != std::string_view::npos) names.remove_prefix(comma + 1);
        }
    }
    return choice;
}

} // namespace lantern
