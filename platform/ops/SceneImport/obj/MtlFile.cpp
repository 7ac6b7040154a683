#include "MtlFile.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "MtlTexture.h"
#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

namespace {

constexpr float kTurn = 6.28318530717958648f; // radians
constexpr Color kBlack = {0, 0, 0};
constexpr Color kWhite = {1, 1, 1};

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

// One material: the last statement of each keyword, which are in lower case.
class MtlMaterial {
public:
    explicit MtlMaterial(const std::string& folder) : folder(folder) {}

    void add(std::string_view keyword, std::string_view values) {
        statements[Lower(keyword)] = std::string(TrimmedMtl(values));
    }

    OxAttribute::GroupAttribute network();

private:
    std::optional<float> number(const char* keyword) const;
    std::optional<Color> color(const char* keyword) const;
    MtlTexture texture(std::initializer_list<const char*> keywords) const;

    void addColor(const char* input, Color color, const MtlTexture& texture);
    void addNumber(const char* input, float number, const MtlTexture& texture);
    void addImage(const char* input, const MtlTexture& texture, const char* port, bool isColor,
                  std::vector<float> multiply);
    void addBase();
    void addSpecular();
    void addRoughness();
    void addOpacity();
    void addRelief();
    void addLayers();
    float opacity() const;

    std::string folder;
    std::map<std::string, std::string> statements;
    SurfaceNetwork surface;
};

std::optional<float> MtlMaterial::number(const char* keyword) const {
    const auto found = statements.find(keyword);
    if (found == statements.end()) return std::nullopt;
    std::string_view rest = found->second;
    std::string_view word = TakeWord(rest);
    if (word == "-halo") word = TakeWord(rest);
    float value = 0;
    if (!ReadMtlNumber(word, value)) return std::nullopt;
    return value;
}

// One number stands for all three. Spectra and other color spaces are not read.
std::optional<Color> MtlMaterial::color(const char* keyword) const {
    const auto found = statements.find(keyword);
    if (found == statements.end()) return std::nullopt;
    std::string_view rest = found->second;
    Color color{};
    if (!ReadMtlNumber(TakeWord(rest), color[0])) return std::nullopt;
    color[1] = color[2] = color[0];
    for (const int i : {1, 2})
        if (const auto word = TakeWord(rest); !word.empty() && !ReadMtlNumber(word, color[i]))
            return std::nullopt;
    return color;
}

// The first of the keywords that is there.
MtlTexture MtlMaterial::texture(std::initializer_list<const char*> keywords) const {
    for (const char* keyword : keywords)
        if (const auto found = statements.find(keyword); found != statements.end())
            if (MtlTexture texture = ReadMtlTexture(found->second); !texture.file.empty())
                return texture;
    return {};
}

// The reference itself when there is no such file in the folder.
std::string FileIn(const std::string& folder, const std::string& reference) {
    std::string file = reference;
    std::replace(file.begin(), file.end(), '\\', '/');
    std::error_code error;
    const std::filesystem::path path = std::filesystem::path(folder) / file;
    return !folder.empty() && std::filesystem::is_regular_file(path, error)
               ? path.lexically_normal().string()
               : reference;
}

const char* PortOf(char channel) {
    switch (channel) {
    case 'r':
        return "r";
    case 'g':
        return "g";
    case 'b':
        return "b";
    case 'm':
        return "a";
    default:
        return "out";
    }
}

void MtlMaterial::addImage(const char* input, const MtlTexture& texture, const char* port,
                           bool isColor, std::vector<float> multiply) {
    ImageNode image;
    image.file = FileIn(folder, texture.file);
    image.uvTransform = texture.transform;
    if (texture.isClamped) image.wrapU = image.wrapV = "clamp";
    image.isColor = isColor;
    for (float& factor : multiply)
        factor *= texture.gain;
    image.multiply = std::move(multiply);
    const std::string node = std::string(input) + "Image";
    surface.addImage(node, image);
    surface.connect(input, port, node);
}

void MtlMaterial::addColor(const char* input, Color color, const MtlTexture& texture) {
    const bool hasTexture = !texture.file.empty();
    if (hasTexture && Largest(color) <= 0) color = kWhite;
    surface.set(input, color);
    if (hasTexture) addImage(input, texture, "out", true, {color.begin(), color.end()});
}

void MtlMaterial::addNumber(const char* input, float number, const MtlTexture& texture) {
    const bool hasTexture = !texture.file.empty();
    if (hasTexture && number <= 0) number = 1;
    surface.set(input, number);
    if (hasTexture) addImage(input, texture, PortOf(texture.channel), false, {number});
}

void MtlMaterial::addBase() {
    const MtlTexture map = texture({"map_kd"});
    addColor("baseColor", color("kd").value_or(map.file.empty() ? Color{0.8f, 0.8f, 0.8f} : kWhite),
             map);
    addColor("emission", color("ke").value_or(kBlack), texture({"map_ke", "map_emissive"}));
}

// A physical material without a specular color reflects as usual, a classic one does not.
void MtlMaterial::addSpecular() {
    const bool isPhysical = statements.count("pr") + statements.count("pm") +
                                statements.count("map_pr") + statements.count("map_pm") >
                            0;
    const MtlTexture map = texture({"map_ks"});
    Color reflection = color("ks").value_or(isPhysical ? kWhite : kBlack);
    if (!map.file.empty() && Largest(reflection) <= 0) reflection = kWhite;
    const float weight = Largest(reflection);
    surface.set("specular", weight);
    addColor("specularColor", weight > 0 ? Scaled(reflection, 1 / weight) : kWhite, map);
}

void MtlMaterial::addRoughness() {
    addNumber("metalness", number("pm").value_or(0), texture({"map_pm"}));
    const auto exponent = number("ns");
    const float classic = exponent ? RoughnessOfExponent(*exponent) : 0.5f;
    const MtlTexture map = texture({"map_pr"});
    addNumber("roughness", number("pr").value_or(map.file.empty() ? classic : 1), map);
}

float MtlMaterial::opacity() const {
    const auto dissolve = number("d");
    const auto transparency = number("tr");
    if (dissolve && *dissolve <= 0 && transparency && *transparency <= 0) return 1;
    if (dissolve) return std::clamp(*dissolve, 0.0f, 1.0f);
    if (transparency && *transparency < 1) return 1 - std::max(*transparency, 0.0f);
    return 1;
}

void MtlMaterial::addOpacity() {
    MtlTexture map = texture({"map_d", "map_tr"});
    const std::string color = texture({"map_kd"}).file;
    if (map.channel == 0 && !map.file.empty() && map.file == color) map.channel = 'm';
    addNumber("opacity", opacity(), map);
}

bool LooksLikeNormals(const std::string& file) {
    const std::string name = Lower(file.substr(file.find_last_of("/\\") + 1));
    return name.find("normal") != std::string::npos || name.find("nrm") != std::string::npos;
}

void MtlMaterial::addRelief() {
    MtlTexture normal = texture({"norm", "map_norm", "map_kn"});
    const MtlTexture bump = texture({"map_bump", "bump"});
    if (normal.file.empty() && LooksLikeNormals(bump.file)) normal = bump;
    if (!normal.file.empty()) {
        addImage("normal", normal, "out", false, {});
        if (normal.hasStrength) surface.set("normalScale", normal.strength);
    }
    if (bump.file.empty() || bump.file == normal.file) return;
    addImage("bump", bump, PortOf(bump.channel), false, {});
    if (bump.hasStrength) surface.set("bumpScale", bump.strength);
}

void MtlMaterial::addLayers() {
    // Writers that do not know the value say 1.
    if (const auto ior = number("ni"); ior && *ior > 1) surface.set("ior", *ior);
    if (const auto sheen = number("ps"); sheen && *sheen > 0)
        surface.set("sheenColor", Color{*sheen, *sheen, *sheen});
    if (const auto coat = number("pc"); coat && *coat > 0) {
        surface.set("coat", *coat);
        surface.set("coatRoughness", number("pcr").value_or(0));
    }
    if (const auto anisotropy = number("aniso"); anisotropy && *anisotropy != 0) {
        surface.set("anisotropy", *anisotropy);
        surface.set("anisotropyRotation", number("anisor").value_or(0) * kTurn);
    }
}

OxAttribute::GroupAttribute MtlMaterial::network() {
    addBase();
    addSpecular();
    addRoughness();
    addOpacity();
    addRelief();
    addLayers();
    return surface.build();
}

// The name of Assimp's material for faces without one.
constexpr std::string_view kMadeUpName = "DefaultMaterial";

// A material of which only the name is known. It looks as renderers draw a mesh without a material.
OxAttribute::GroupAttribute UnknownMaterial() {
    SurfaceNetwork surface;
    surface.set("baseColor", Color{0.8f, 0.8f, 0.8f});
    surface.set("emission", Color{0, 0, 0});
    surface.set("specular", 1.0f);
    surface.set("specularColor", Color{1, 1, 1});
    surface.set("metalness", 0.0f);
    surface.set("roughness", 0.5f);
    surface.set("opacity", 1.0f);
    return surface.build();
}

// Takes a line, with those that continue it, off the text.
std::string TakeStatement(std::string_view& text) {
    std::string statement;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        std::string_view line = TrimmedMtl(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
        const bool isContinued = !line.empty() && line.back() == '\\';
        if (isContinued) line.remove_suffix(1);
        statement += line;
        if (!isContinued) break;
        statement += ' ';
    }
    return statement;
}

} // namespace

std::vector<ContentMaterial> ReadMtl(std::string_view content, const std::string& folder) {
    std::vector<std::pair<std::string, MtlMaterial>> found;
    while (!content.empty()) {
        const std::string statement = TakeStatement(content);
        std::string_view rest = statement;
        const std::string_view keyword = TakeWord(rest);
        if (keyword.empty() || keyword.front() == '#') continue;
        if (Lower(keyword) == "newmtl")
            found.emplace_back(std::string(TrimmedMtl(rest)), MtlMaterial(folder));
        else if (!found.empty())
            found.back().second.add(keyword, rest);
    }
    std::vector<ContentMaterial> materials;
    materials.reserve(found.size());
    for (auto& [name, material] : found)
        materials.push_back({name, material.network()});
    return materials;
}

std::vector<std::string> UseMtl(SceneContent& content,
                                const std::vector<ContentMaterial>& materials) {
    std::map<std::string_view, const ContentMaterial*> byName;
    for (const ContentMaterial& material : materials)
        byName.emplace(material.name, &material);
    std::vector<std::string> missing;
    for (ContentMaterial& material : content.materials) {
        const auto found = byName.find(material.name);
        if (found == byName.end() && material.name == kMadeUpName) continue;
        const bool isKnown = found != byName.end();
        material.network = isKnown ? found->second->network : UnknownMaterial();
        if (!isKnown && !material.name.empty()) missing.push_back(material.name);
    }
    return missing;
}

} // namespace TellarSceneImport
