#ifndef LANTERN_DRAWING_CRYPTOMATTE_H
#define LANTERN_DRAWING_CRYPTOMATTE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// Names, ids and manifests of mattes, as Cryptomatte 1.2.0 has them.
namespace lantern {

/// MurmurHash3_32 with the seed 0. Austin Appleby's algorithm, in the public domain.
std::uint32_t MurmurHash(std::string_view text);

/// The id of a name: its hash, with one bit flipped where a float of these bits would not be a
/// normal number.
std::uint32_t MatteId(std::string_view name);

/// The part of the metadata's keys that belongs to a matte, such as "cryptomatte/f834d0a/".
std::string MatteKey(std::string_view matte);

/// The ids of names.
using Manifest = std::map<std::string, std::uint32_t>;

/// A JSON object of names and ids of eight hexadecimal digits.
std::string ManifestText(const Manifest& manifest);
/// Reads such an object. Returns nothing for any other text.
std::optional<Manifest> ManifestOf(std::string_view text);

/// The asset that a location belongs to: the path's first four parts, as in
/// "/root/world/geo/pony". A shorter path is its own asset.
std::string_view AssetOf(std::string_view location);

} // namespace lantern

#endif
