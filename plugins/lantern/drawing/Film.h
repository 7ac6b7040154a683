#ifndef LANTERN_DRAWING_FILM_H
#define LANTERN_DRAWING_FILM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "SceneData.h"
#include "drawing/Buckets.h"
#include "drawing/FirstHit.h"
#include "drawing/MatteLayer.h"
#include "drawing/PathTracer.h"
#include "drawing/Picture.h"

namespace lantern {

/// Gathers the paths of a picture's pixels. Several threads may add to different buckets at once.
///
/// Colors, normals, albedo and mattes are means over all paths of a pixel. A mean of depths,
/// positions, ids or motions would belong to no surface, so these are of the path that is nearest
/// to the center of the pixel.
class Film {
public:
    /// Refers to the scene. `gain` multiplies the colors.
    Film(const SceneData& scene, const Buckets& buckets, float gain);

    bool hasLayers() const { return scene.layers.any(); }

    /// Adds a path of a pixel in the bucket. Coordinates are those of the whole picture.
    void add(int x, int y, int bucket, const PathTracer::Traced& traced, const FirstHit& first);

    std::uint32_t pathsOf(int x, int y) const { return counts[indexOf(x, y)]; }

    /// Statistics of a pixel's luminance times the gain, kept only if there is a noise goal.
    struct Noise {
        double mean = 0;
        double variance = 0; ///< variance of the mean
    };
    Noise noiseOf(int x, int y) const;

    /// The part of the picture in a window within that of the buckets. Pixels without a path are
    /// black.
    Picture develop(const Window& part) const;

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

    void addMatte(const char* name, Index FirstHit::*thing, std::vector<std::string> names);
    std::size_t indexOf(int x, int y) const {
        const Window& window = buckets.window();
        return std::size_t(y - window.y0) * window.width() + x - window.x0;
    }
    template <typename Value>
    Channel& addChannel(Picture& picture, const char* name, Value value) const;
    void developColors(Picture& picture) const;
    void developLayers(Picture& picture) const;
    void developMatte(const Matte& matte, Picture& picture) const;

    const SceneData& scene;
    const Buckets buckets;
    const float gain;
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
