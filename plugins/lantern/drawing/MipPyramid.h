#ifndef LANTERN_DRAWING_MIPPYRAMID_H
#define LANTERN_DRAWING_MIPPYRAMID_H

#include <string>
#include <vector>

#include <OpenImageIO/imagecache.h>

namespace lantern {

/// The place of a pyramid's level in its image.
struct MipPlace {
    int level = 0; ///< how many times the sides are halved
    int x = 0, y = 0;
    int width = 0, height = 0;

    bool operator==(const MipPlace& other) const {
        return level == other.level && x == other.x && y == other.y && width == other.width &&
               height == other.height;
    }
};

/// The levels of an image of this size that a pyramid has, in one image: the largest at the left,
/// the others right of it one below the other. A level has half of the sides of the one before,
/// rounded down. Levels of more than 2^24 texels are left out.
std::vector<MipPlace> MipPlaces(int width, int height);

/// Adds the pyramid of a file to a cache, as one image of one tile with the channels of the file,
/// in half floats and linear light. It is made when it is first asked for, and counts among the
/// tiles of the cache. A texel is the mean of those that it covers. Returns null if the file cannot
/// be opened or has one texel.
OIIO::ImageCache::ImageHandle* AddMipPyramid(OIIO::ImageCache& cache, const std::string& file,
                                             bool isSrgb);

} // namespace lantern

#endif
