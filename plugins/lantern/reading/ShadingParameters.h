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

/// The color of one or three numbers or more, or `otherwise`.
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

/// Whether a file whose color space is not given holds sRGB: colors do, except in ".exr" and
/// ".hdr".
bool IsSrgbByItself(const std::string& file, bool isColor);

/// The parameter "multiply" of an image that is read for one channel, or for -1 all of them. The
/// factor of a single channel is the first component. `opacity` is that of an alpha whose image has
/// factors for its colors only.
Color ReadMultiply(const Attribute& multiply, int channel, float opacity);

/// 0 to 3 for a port that is a single channel ("g" or "out:g"), -1 for all of them.
int ChannelOf(const std::string& port);

/// The name of a node without the ":0", ":1", ... that flattening appends.
std::string NameOfNode(const std::string& flattened);

} // namespace lantern

#endif
