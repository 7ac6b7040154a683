#include "drawing/Film.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "drawing/CameraRays.h"
#include "drawing/Cryptomatte.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// The depth of pixels that show no surface, as compositing programs expect it.
constexpr float kNoDepth = 1e10f;

std::uint32_t BitsOf(float value) {
    std::uint32_t bits = 0;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float FromBits(std::uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::vector<std::string> AssetsOf(const std::vector<std::string>& locations) {
    std::vector<std::string> assets;
    assets.reserve(locations.size());
    for (const std::string& location : locations)
        assets.emplace_back(AssetOf(location));
    return assets;
}

std::vector<std::string> NamesOf(const std::vector<Material>& materials) {
    std::vector<std::string> names;
    names.reserve(materials.size());
    for (const Material& material : materials)
        names.push_back(material.name);
    return names;
}

std::vector<std::uint32_t> IdsOf(const std::vector<std::string>& names) {
    std::vector<std::uint32_t> ids;
    ids.reserve(names.size());
    for (const std::string& name : names)
        ids.push_back(MatteId(name));
    return ids;
}

Picture EmptyPicture(const SceneData& scene, const Window& window) {
    const Framing& framing = scene.framing;
    Picture picture;
    picture.width = framing.width;
    picture.height = framing.height;
    picture.window = window;
    const M44d toCamera = WorldToCamera(scene.camera);
    const M44d toNdc = toCamera * ProjectionOf(scene.camera, framing.width, framing.height);
    picture.worldToCamera = M44f(toCamera);
    picture.worldToNdc = M44f(toNdc);
    picture.facts.scene = scene.facts.scene;
    picture.facts.camera = scene.facts.camera;
    picture.facts.frame = scene.facts.frame;
    return picture;
}

/// Calls the function for each pixel, row by row from the top.
template <typename Function>
void EachPixel(const Window& window, Function function) {
    for (int y = window.y0; y < window.y1; ++y)
        for (int x = window.x0; x < window.x1; ++x)
            function(x, y);
}

} // namespace

Film::Film(const SceneData& scene, const Buckets& buckets, float gain)
    : scene(scene), buckets(buckets), gain(gain), locks(static_cast<std::size_t>(buckets.count())) {
    const LayerChoice& layers = scene.layers;
    const std::size_t pixels =
        std::size_t(buckets.window().width()) * static_cast<std::size_t>(buckets.window().height());
    colors.resize(pixels, Color(0));
    alphas.resize(pixels);
    counts.resize(pixels);
    if (scene.quality.noise > 0) squares.resize(pixels);
    if (layers.normal) normals.resize(pixels, V3f(0));
    if (layers.albedo) albedos.resize(pixels, Color(0));
    if (layers.depth || layers.position || layers.id || layers.motion) nearest.resize(pixels);
    if (layers.id) ids = IdsOf(scene.locations);
    if (layers.objectMatte) addMatte("CryptoObject", &FirstHit::instance, scene.locations);
    if (layers.materialMatte)
        addMatte("CryptoMaterial", &FirstHit::material, NamesOf(scene.materials));
    if (layers.assetMatte) addMatte("CryptoAsset", &FirstHit::instance, AssetsOf(scene.locations));
    addLayers();
}

void Film::addMatte(const char* name, Index FirstHit::*thing, std::vector<std::string> names) {
    std::vector<std::uint32_t> idsOfNames = IdsOf(names);
    mattes.push_back({name, thing, std::move(names), std::move(idsOfNames),
                      MatteLayer(counts.size(), buckets.count())});
}

void Film::addLayers() {
    using Content = FilmLayer::Content;
    const LayerChoice& wanted = scene.layers;
    const auto add = [this](bool isWanted, const char* name, std::vector<std::string> channels,
                            const char* prefix, Content content, bool isInteger = false) {
        if (isWanted)
            allLayers.push_back({name, std::move(channels), prefix, content, isInteger, 0, 0});
    };
    add(true, "", {"R", "G", "B", "A"}, "", Content::Colors);
    add(wanted.depth, "depth", {"Z"}, "", Content::Depth);
    add(wanted.normal, "normal", {"X", "Y", "Z"}, "N.", Content::Normal);
    add(wanted.position, "position", {"X", "Y", "Z"}, "P.", Content::Position);
    add(wanted.albedo, "albedo", {"R", "G", "B"}, "albedo.", Content::Albedo);
    add(wanted.motion, "motion", {"X", "Y"}, "motion.", Content::Motion);
    add(wanted.id, "id", {"id"}, "", Content::Id, true);
    for (std::size_t matte = 0; matte < mattes.size(); ++matte) {
        for (std::size_t i = 0; 2 * i < MatteLayer::kRanks; ++i) { // two ranks in each layer
            const std::string name = mattes[matte].name + "0" + std::to_string(i);
            allLayers.push_back(
                {name, {"R", "G", "B", "A"}, name + ".", Content::Matte, false, matte, 4 * i});
        }
    }
}

void Film::add(int x, int y, int bucket, const FilmPath* paths, int count) {
    const std::size_t pixel = indexOf(x, y);
    const std::lock_guard<std::mutex> guard(locks[static_cast<std::size_t>(bucket)]);
    for (int i = 0; i < count; ++i)
        addPath(pixel, bucket, paths[i]);
}

void Film::addPath(std::size_t pixel, int bucket, const FilmPath& path) {
    const PathTracer::Traced& traced = path.traced;
    const FirstHit& first = path.first;
    ++counts[pixel];
    colors[pixel] += traced.color;
    alphas[pixel] += traced.alpha;
    if (!squares.empty()) {
        const float luminance = Luminance(traced.color);
        squares[pixel] += luminance * luminance;
    }
    if (!nearest.empty()) {
        const float distance = (first.inPixel - V2f(0.5f)).length2();
        if (distance < nearest[pixel].distance)
            nearest[pixel] = {distance, first.instance, first.isHit ? first.depth : kNoDepth,
                              first.position, first.motion};
    }
    if (!first.isHit) return;
    if (!normals.empty()) normals[pixel] += first.normal;
    if (!albedos.empty()) albedos[pixel] += first.albedo;
    for (Matte& matte : mattes)
        matte.layer.add(pixel, bucket, matte.ids[first.*matte.thing]);
}

Film::Noise Film::noiseOf(int x, int y) const {
    const std::size_t pixel = indexOf(x, y);
    const double count = counts[pixel];
    if (count < 2) return {};
    const double mean = double(Luminance(colors[pixel])) / count;
    const double variance = std::max(0.0, double(squares[pixel]) / count - mean * mean);
    return {mean * double(gain), variance / (count - 1) * double(gain) * double(gain)};
}

// Developing --------------------------------------------------------------------------------------

Picture Film::develop(const Window& part) const {
    Picture picture = EmptyPicture(scene, part);
    developColors(picture);
    developLayers(picture);
    addManifests(picture);
    return picture;
}

void Film::developColors(Picture& picture) const {
    double paths = 0;
    EachPixel(picture.window, [&](int x, int y) {
        const std::size_t pixel = indexOf(x, y);
        const Values values = valuesOf(allLayers[0], pixel, 0);
        for (std::size_t k = 0; k < 4; ++k)
            picture.pixels.push_back(FromBits(values[k]));
        paths += counts[pixel];
    });
    const double mean = paths / (double(picture.pixels.size()) / 4);
    picture.facts.samples = static_cast<int>(std::lround(mean));
}

/// Adds the channels of all layers besides the colors. Those of a matte's layers are consecutive.
void Film::developLayers(Picture& picture) const {
    for (std::size_t i = 1; i < allLayers.size(); ++i) {
        const FilmLayer& layer = allLayers[i];
        for (const std::string& channel : layer.channels) {
            picture.channels.push_back({layer.prefix + channel, layer.isInteger, {}});
            picture.channels.back().bits.reserve(picture.pixels.size() / 4);
        }
        const bool goesOn = i + 1 < allLayers.size() && allLayers[i + 1].firstChannel > 0;
        if (goesOn) continue;
        const std::size_t count = layer.firstChannel + layer.channels.size();
        Channel* const channels = picture.channels.data() + picture.channels.size() - count;
        EachPixel(picture.window, [&](int x, int y) {
            const Values values = valuesOf(layer, indexOf(x, y), buckets.of(x, y));
            for (std::size_t k = 0; k < count; ++k)
                channels[k].bits.push_back(values[k]);
        });
    }
}

/// Adds the names of all things that the channels of mattes show.
void Film::addManifests(Picture& picture) const {
    for (const Matte& matte : mattes) {
        std::unordered_set<std::uint32_t> seen;
        for (std::size_t i = 0; i + 1 < picture.channels.size(); ++i) {
            const std::string& name = picture.channels[i].name;
            const bool isId =
                name.rfind(matte.name, 0) == 0 && (name.back() == 'R' || name.back() == 'B');
            if (!isId) continue;
            const std::vector<std::uint32_t>& coverage = picture.channels[i + 1].bits;
            for (std::size_t pixel = 0; pixel < coverage.size(); ++pixel)
                if (coverage[pixel] != 0) seen.insert(picture.channels[i].bits[pixel]);
        }
        Manifest& manifest = picture.manifests[matte.name];
        for (std::size_t i = 0; i < matte.names.size(); ++i)
            if (seen.count(matte.ids[i]) > 0) manifest.emplace(matte.names[i], matte.ids[i]);
    }
}

void Film::readLayer(const FilmLayer& layer, const Window& part, float* values) const {
    const std::size_t channels = layer.channels.size();
    for (int bucket = 0; bucket < buckets.count(); ++bucket) {
        const Window shared = buckets.at(bucket).within(part);
        if (shared.isEmpty()) continue;
        const std::lock_guard<std::mutex> guard(locks[static_cast<std::size_t>(bucket)]);
        EachPixel(shared, [&](int x, int y) {
            const Values found = valuesOf(layer, indexOf(x, y), bucket);
            const std::size_t pixel =
                std::size_t(y - part.y0) * static_cast<std::size_t>(part.width()) +
                static_cast<std::size_t>(x - part.x0);
            std::memcpy(values + pixel * channels, found.data() + layer.firstChannel,
                        channels * sizeof(float));
        });
    }
}

/// The bits of the layer's channels; for a matte, of the channels of all its layers.
Film::Values Film::valuesOf(const FilmLayer& layer, std::size_t pixel, int bucket) const {
    const auto paths = static_cast<float>(counts[pixel]);
    const auto meanOf = [paths](const V3f& sum) -> Values {
        if (paths == 0) return {};
        return {BitsOf(sum.x / paths), BitsOf(sum.y / paths), BitsOf(sum.z / paths)};
    };
    switch (layer.content) {
    case FilmLayer::Content::Colors: {
        const float share = paths > 0 ? 1 / paths : 0;
        const Color color = colors[pixel] * share * gain;
        return {BitsOf(color.x), BitsOf(color.y), BitsOf(color.z), BitsOf(alphas[pixel] * share)};
    }
    case FilmLayer::Content::Depth:
        return {BitsOf(nearest[pixel].depth)};
    case FilmLayer::Content::Normal:
        return meanOf(normals[pixel]);
    case FilmLayer::Content::Position: {
        const V3f& position = nearest[pixel].position;
        return {BitsOf(position.x), BitsOf(position.y), BitsOf(position.z)};
    }
    case FilmLayer::Content::Albedo:
        return meanOf(albedos[pixel]);
    case FilmLayer::Content::Motion:
        return {BitsOf(nearest[pixel].motion.x), BitsOf(nearest[pixel].motion.y)};
    case FilmLayer::Content::Id: {
        const Index instance = nearest[pixel].instance;
        return {instance == kNone ? std::uint32_t(0) : ids[instance]};
    }
    case FilmLayer::Content::Matte:
        return matteValuesOf(mattes[layer.matte].layer, pixel, bucket);
    }
    return {};
}

/// For each rank, the id of the thing and the share of the paths that meet it.
Film::Values Film::matteValuesOf(const MatteLayer& layer, std::size_t pixel, int bucket) const {
    Values values{};
    const auto ranks = layer.ranksOf(pixel, bucket);
    for (std::size_t i = 0; i < ranks.size(); ++i) {
        const auto paths = static_cast<float>(ranks[i].paths);
        values[2 * i] = ranks[i].id;
        values[2 * i + 1] =
            ranks[i].paths > 0 ? BitsOf(paths / static_cast<float>(counts[pixel])) : 0;
    }
    return values;
}

} // namespace lantern
