#ifndef LANTERN_DRAWING_TEXTURES_H
#define LANTERN_DRAWING_TEXTURES_H

#include <functional>
#include <memory>

#include "Report.h"
#include "SceneData.h"

namespace lantern {

/// Looks up images, of which no more is in memory than a limit allows. Any number of threads.
///
/// Values are blended between four texels of the finest level, in linear light: paths of one pixel
/// that fall on different places of it take the mean.
class Textures {
public:
    /// Warns of each file that cannot be read.
    Textures(const SceneData& scene, Report& report);
    ~Textures();
    Textures(const Textures&) = delete;
    Textures& operator=(const Textures&) = delete;

    /// There is such a texture, and it can be looked up.
    bool has(Index texture) const;

    /// Assigns the texture's value where the surface has these coordinates: made linear, and
    /// multiplied. A single channel comes three times. False, and nothing is assigned, when there
    /// is no texture or it cannot be read there.
    bool color(Index texture, const V2f& st, Color& value) const;

    /// The image as it is around us: from 0 to 1, `t` from the top; it repeats sideways.
    bool around(Index texture, const V2f& st, Color& value) const;

    /// Calls for each texel of the image in turn, row by row from the top; does nothing when it
    /// cannot be read.
    using TexelFunction = std::function<void(int x, int y, const Color& value)>;
    bool size(Index texture, int& width, int& height) const;
    void eachTexel(Index texture, const TexelFunction& function) const;

private:
    struct Library;
    std::unique_ptr<Library> library;
};

} // namespace lantern

#endif
