#ifndef LANTERN_DRAWING_TEXTURES_H
#define LANTERN_DRAWING_TEXTURES_H

#include <functional>
#include <memory>

#include "Report.h"
#include "SceneData.h"

namespace lantern {

/// Texture lookups through a cache of limited size. Safe from several threads at once.
///
/// Lookups are in linear light. They are bilinear at the finest level or, for a footprint that is
/// wider than a texel, interpolated between the two levels of its size. All renders of the process
/// share one cache.
class Textures {
public:
    /// Opens all files and warns about those that cannot be read.
    Textures(const SceneData& scene, Report& report);
    ~Textures();
    Textures(const Textures&) = delete;
    Textures& operator=(const Textures&) = delete;

    /// Whether the texture exists and can be read.
    bool has(Index texture) const;

    /// Assigns the texture's value at these coordinates, in linear light and multiplied by
    /// Texture::multiply. A single channel is assigned to all components. Returns false, and
    /// assigns nothing, if there is no texture or it cannot be read there.
    bool color(Index texture, const V2f& st, Color& value) const {
        return color(texture, st, 0, value);
    }
    /// The mean of the texture over a footprint of this width in texture coordinates.
    bool color(Index texture, const V2f& st, float width, Color& value) const;

    /// The same for an image by longitude and latitude, both from 0 to 1, with `t` from the top.
    bool around(Index texture, const V2f& st, Color& value) const;

    /// Calls the function for each texel, row by row from the top. Does nothing if the image cannot
    /// be read.
    using TexelFunction = std::function<void(int x, int y, const Color& value)>;
    bool size(Index texture, int& width, int& height) const;
    void eachTexel(Index texture, const TexelFunction& function) const;

private:
    struct Library;
    std::unique_ptr<Library> library;
};

} // namespace lantern

#endif
