#ifndef LANTERN_DRAWING_FILM_H
#define LANTERN_DRAWING_FILM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "SceneData.h"
#include "drawing/Buckets.h"
#include "drawing/FirstHit.h"
#include "drawing/MatteLayer.h"
#include "drawing/PathTracer.h"
#include "drawing/Picture.h"

namespace lantern {

/// A layer of the picture, as other programs read it from the film.
struct FilmLayer {
    enum class Content { Colors, Depth, Normal, Position, Albedo, Motion, Id, Matte };

    std::string name; ///< "" for the colors
    std::vector<std::string> channels;
    std::string prefix; ///< of the channels' names in a file: "N."
    Content content = Content::Colors;
    bool isInteger = false; ///< the values are unsigned integers, not floats
    // Only for mattes:
    std::size_t matte = 0;        ///< index of the matte
    std::size_t firstChannel = 0; ///< number of the matte's channels in the layers before this one
};

/// A path with what it brings to its pixel.
struct FilmPath {
    PathTracer::Traced traced;
    FirstHit first; ///< unset for a picture without layers
};

/// Gathers the paths of a picture's pixels. Several threads may add to different buckets at once,
/// and others may read layers meanwhile.
///
/// Colors, normals, albedo and mattes are means over all paths of a pixel. A mean of depths,
/// positions, ids or motions would belong to no surface, so these are of the path that is nearest
/// to the center of the pixel.
class Film {
public:
    /// Refers to the scene. `gain` multiplies the colors.
    Film(const SceneData& scene, const Buckets& buckets, float gain);

    bool hasLayers() const { return scene.layers.any(); }

    /// Adds paths of a pixel in the bucket. Coordinates are those of the whole picture.
    void add(int x, int y, int bucket, const FilmPath* paths, int count);

    /// For the thread that adds to the pixel.
    int pathsOf(int x, int y) const { return static_cast<int>(counts[indexOf(x, y)]); }

    /// Statistics of a pixel's luminance times the gain, kept only if there is a noise goal.
    struct Noise {
        double mean = 0;
        double variance = 0; ///< variance of the mean
    };
    Noise noiseOf(int x, int y) const;

    /// The part of the picture in a window within that of the buckets. Pixels without a path are
    /// black. No thread may add paths meanwhile.
    Picture develop(const Window& part) const;

    /// The colors, and the layers that the scene asks for.
    const std::vector<FilmLayer>& layers() const { return allLayers; }
    /// Copies the present values of a layer in a window within that of the buckets, row by row, all
    /// channels of a pixel together. Integers come as their bits. Any thread may call this.
    void readLayer(const FilmLayer& layer, const Window& part, float* values) const;

private:
    /// The path that is nearest to the center of a pixel.
    struct Nearest {
        float distance = 1; ///< squared, in pixels; more than any distance in a pixel
        Index instance = kNone;
        float depth = 0;
        V3f position{0, 0, 0};
        V2f motion{0, 0};
    };
    /// A matte of a picture and the names of its things.
    struct Matte {
        std::string name;               ///< "CryptoObject"
        Index FirstHit::*thing;         ///< the number of a hit's thing
        std::vector<std::string> names; ///< one name per thing
        std::vector<std::uint32_t> ids; ///< one id per thing
        MatteLayer layer;
    };

    /// The values of a pixel, enough for all layers of a matte.
    using Values = std::array<std::uint32_t, 2 * MatteLayer::kRanks>;

    void addLayers();
    void addMatte(const char* name, Index FirstHit::*thing, std::vector<std::string> names);
    void addPath(std::size_t pixel, int bucket, const FilmPath& path);
    std::size_t indexOf(int x, int y) const {
        const Window& window = buckets.window();
        return std::size_t(y - window.y0) * window.width() + x - window.x0;
    }
    Values valuesOf(const FilmLayer& layer, std::size_t pixel, int bucket) const;
    Values matteValuesOf(const MatteLayer& layer, std::size_t pixel, int bucket) const;
    void developColors(Picture& picture) const;
    void developLayers(Picture& picture) const;
    void addManifests(Picture& picture) const;

    const SceneData& scene;
    const Buckets buckets;
    const float gain;
    std::vector<FilmLayer> allLayers;
    // One per bucket: guards the pixels of the bucket in all members below.
    mutable std::vector<std::mutex> locks;
    // Sums over the paths of each pixel. Those that are not needed are empty.
    std::vector<Color> colors;
    std::vector<float> alphas;
    std::vector<float> squares; // squares of the luminance
    std::vector<V3f> normals;
    std::vector<Color> albedos;
    std::vector<std::uint32_t> counts;
    std::vector<Nearest> nearest;
    std::vector<Matte> mattes;
    std::vector<std::uint32_t> ids; // one id per instance
};

} // namespace lantern

#endif
