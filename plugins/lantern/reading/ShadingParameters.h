#ifndef LANTERN_READING_SHADINGPARAMETERS_H
#define LANTERN_READING_SHADINGPARAMETERS_H

#include <string>
#include <vector>

#include "MaterialData.h"
#include "reading/Attribute.h"

/// The values of the parameters of shading nodes.
namespace lantern {

/// The numbers of an attribute; none if one of them is not finite.
std::vector<float> FiniteNumbers(const Attribute& value);

/// A color from one number, or from the first three. Returns `otherwise` for two or none.
Color ReadColor(const Attribute& value, const Color& otherwise);

/// The first two numbers, or `otherwise`; a single number stands for both.
V2f ReadPair(const Attribute& value, const V2f& otherwise);

/// The parameter "uvTransform": move, scale and turn, five numbers.
UvTransform ReadUvTransform(const Attribute& value);
/// Scales, then turns by an angle in radians, then moves.
UvTransform MakeUvTransform(const V2f& move, const V2f& scale, float turn);
/// Applies the first one, then the second one.
UvTransform Composed(const UvTransform& first, const UvTransform& second);

Texture::Wrap ReadWrap(const Attribute& mode);

/// Whether a file without a given color space holds sRGB values: files of colors do, except ".exr"
/// and ".hdr".
bool IsSrgbByItself(const std::string& file, bool isColor);

/// The parameter "multiply" of an image of which one channel is read, or all if `channel` is -1. A
/// single channel is multiplied by the first component. `opacity` is the factor of an alpha channel
/// if "multiply" is for colors only.
Color ReadMultiply(const Attribute& multiply, int channel, float opacity);

/// 0 to 3 for a port that is a single channel ("g" or "out:g"), -1 for all of them.
int ChannelOf(const std::string& port);

/// The name of a node without the ":0", ":1", ... that flattening appends.
std::string NameOfNode(const std::string& flattened);

} // namespace lantern

#endif
