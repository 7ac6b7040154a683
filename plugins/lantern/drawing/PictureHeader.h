#ifndef LANTERN_DRAWING_PICTUREHEADER_H
#define LANTERN_DRAWING_PICTUREHEADER_H

#include <string>

#include <OpenImageIO/imageio.h>

#include "drawing/PictureFile.h"

namespace lantern {

/// Adds size, place, matrices, manifests and facts of a picture to the header of its file.
void AddHeader(const StoredPicture& picture, OIIO::ImageSpec& spec);

/// Reads what AddHeader() wrote. Returns an error text if the header lacks the size of the whole
/// picture, otherwise an empty text.
std::string ReadHeader(const OIIO::ImageSpec& spec, StoredPicture& picture);

} // namespace lantern

#endif
