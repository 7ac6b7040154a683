#ifndef SCENEIMPORT_OBJTEXT_H
#define SCENEIMPORT_OBJTEXT_H

#include <string>

namespace TellarSceneImport {

/// The text of an OBJ file with colours that Assimp can read: if any point has a colour after its
/// place (three numbers from 0 to 1, or to 255 in all points, in sRGB; a fourth is left out), every
/// point has one, white where there was none. The colours are linear then.
std::string WithPlainColors(std::string content);

/// An OBJ text whose lines Assimp understands. Assimp ignores lines that begin with blanks, so
/// these are removed, and cuts names of objects at a blank, so blanks in names become kBlankInName.
std::string WithPlainLines(std::string content);

/// A control character, which names of locations never contain.
constexpr char kBlankInName = '\x1f';

} // namespace TellarSceneImport

#endif
