#ifndef SCENEIMPORT_MTLTEXTURE_H
#define SCENEIMPORT_MTLTEXTURE_H

#include <string>
#include <string_view>
#include <vector>

namespace TellarSceneImport {

/// A texture statement of an MTL file: its options and the name after them.
struct MtlTexture {
    std::string file;             ///< unresolved, possibly with spaces; empty for none
    std::vector<float> transform; ///< -o and -s: empty, or translation, scale and turn
    bool isClamped = false;       ///< -clamp on
    float strength = 1;           ///< -bm
    bool hasStrength = false;
    float gain = 1;   ///< the second number of -mm
    char channel = 0; ///< -imfchan: r, g, b, m (alpha), l or z; 0 if not given
};

/// Reads what follows the keyword. Options that have no place in a network are read and left out.
MtlTexture ReadMtlTexture(std::string_view text);

/// Takes the next word off a line of an MTL file; empty at its end.
std::string_view TakeWord(std::string_view& line);

/// Reads a finite number, all of a word. Returns false for another word.
bool ReadMtlNumber(std::string_view word, float& number);

/// The text without blanks at its ends.
std::string_view TrimmedMtl(std::string_view text);

} // namespace TellarSceneImport

#endif
