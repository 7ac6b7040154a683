#include "drawing/Film.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
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

std::uint32_t BitsOf(std::uint32_t value) {
    return value;
}

std::vector<std::string> AssetsOf(const std::vector<std::string>& locations) {
    std::vector<std::string> assets;
    for (const std::string& location : locations)
        assets.emplace_back(AssetOf(location));
    return assets;
}

std::vector<std::string> NamesOf(const std::vector<Material>& materials) {
    std::vector<std::string> names;
    for (const Material& material : materials)
        names.push_back(material.name);
    return names;
}

std::vector<std::uint32_t> IdsOf(const std::vector<std::string>& names) {
    std::vector<std::uint32_t> ids;
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
    : scene(scene), buckets(buckets), gain(gain) {
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
}

void Film::addMatte(const char* name, Index FirstHit::*thing, std::vector<std::string> names) {
    std::vector<std::uint32_t> idsOfNames = IdsOf(names);
    mattes.push_back({name, thing, std::move(names), std::move(idsOfNames),
                      MatteLayer(counts.size(), buckets.count())});
}

void Film::add(int x, int y, int bucket, const PathTracer::Traced& traced, const FirstHit& first) {
    const std::size_t pixel = indexOf(x, y);
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
    for (const Matte& matte : mattes)
        developMatte(matte, picture);
    return picture;
}

void Film::developColors(Picture& picture) const {
    double paths = 0;
    EachPixel(picture.window, [&](int x, int y) {
        const std::size_t pixel = indexOf(x, y);
        const float share = counts[pixel] > 0 ? 1 / static_cast<float>(counts[pixel]) : 0;
        const Color color = colors[pixel] * share * gain;
        for (const float value : {color.x, color.y, color.z, alphas[pixel] * share})
            picture.pixels.push_back(value);
        paths += counts[pixel];
    });
    const double mean = paths / (double(picture.pixels.size()) / 4);
    picture.facts.samples = static_cast<int>(mean + 0.5);
}

/// Adds a channel of the values that the function returns for each index of a pixel.
template <typename Value>
Channel& Film::addChannel(Picture& picture, const char* name, Value value) const {
    Channel& channel = picture.channels.emplace_back();
    channel.name = name;
    channel.bits.reserve(picture.pixels.size() / 4);
    EachPixel(picture.window,
              [&](int x, int y) { channel.bits.push_back(BitsOf(value(indexOf(x, y)))); });
    return channel;
}

void Film::developLayers(Picture& picture) const {
    const LayerChoice& layers = scene.layers;
    const auto addMean = [&](const char* name, const std::vector<V3f>& sums, int k) {
        addChannel(picture, name, [&sums, k, this](std::size_t pixel) {
            return counts[pixel] > 0 ? sums[pixel][k] / static_cast<float>(counts[pixel]) : 0.0f;
        });
    };
    const auto addNearest = [&](const char* name, auto valueOf) {
        addChannel(picture, name, [&](std::size_t pixel) { return valueOf(nearest[pixel]); });
    };
    if (layers.depth) addNearest("Z", [](const Nearest& at) { return at.depth; });
    const std::array<const char*, 3> normalNames{"N.X", "N.Y", "N.Z"};
    const std::array<const char*, 3> positionNames{"P.X", "P.Y", "P.Z"};
    const std::array<const char*, 3> albedoNames{"albedo.R", "albedo.G", "albedo.B"};
    for (int k = 0; k < 3 && layers.normal; ++k)
        addMean(normalNames[k], normals, k);
    for (int k = 0; k < 3 && layers.position; ++k)
        addNearest(positionNames[k], [k](const Nearest& at) { return at.position[k]; });
    for (int k = 0; k < 3 && layers.albedo; ++k)
        addMean(albedoNames[k], albedos, k);
    if (layers.motion) {
        addNearest("motion.X", [](const Nearest& at) { return at.motion.x; });
        addNearest("motion.Y", [](const Nearest& at) { return at.motion.y; });
    }
    if (!layers.id) return;
    addChannel(picture, "id", [this](std::size_t pixel) {
        const Index instance = nearest[pixel].instance;
        return instance == kNone ? std::uint32_t(0) : ids[instance];
    }).isInteger = true;
}

void Film::developMatte(const Matte& matte, Picture& picture) const {
    std::vector<Channel> channels;
    for (int rank = 0; rank < MatteLayer::kRanks; ++rank) { // two ranks in each layer of R, G, B, A
        const std::string layer = matte.name + "0" + std::to_string(rank / 2);
        channels.push_back({layer + (rank % 2 == 0 ? ".R" : ".B"), false, {}});
        channels.push_back({layer + (rank % 2 == 0 ? ".G" : ".A"), false, {}});
    }
    std::unordered_set<std::uint32_t> seen;
    EachPixel(picture.window, [&](int x, int y) {
        const std::size_t pixel = indexOf(x, y);
        const auto ranks = matte.layer.ranksOf(pixel, buckets.of(x, y));
        for (std::size_t i = 0; i < ranks.size(); ++i) {
            const auto paths = static_cast<float>(ranks[i].paths);
            channels[2 * i].bits.push_back(ranks[i].id);
            channels[2 * i + 1].bits.push_back(
                ranks[i].paths > 0 ? BitsOf(paths / static_cast<float>(counts[pixel])) : 0);
            if (ranks[i].paths > 0) seen.insert(ranks[i].id);
        }
    });
    Manifest& manifest = picture.manifests[matte.name];
    for (std::size_t i = 0; i < matte.names.size(); ++i)
        if (seen.count(matte.ids[i]) > 0) manifest.emplace(matte.names[i], matte.ids[i]);
    std::move(channels.begin(), channels.end(), std::back_inserter(picture.channels));
}

} // namespace lantern
