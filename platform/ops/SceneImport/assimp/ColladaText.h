#ifndef SCENEIMPORT_COLLADATEXT_H
#define SCENEIMPORT_COLLADATEXT_H

#include <string>

namespace TellarSceneImport {

/// The text of a Collada file as Assimp can read it: in UTF-8, without white space at the ends of
/// the values of attributes and of the texts between tags.
std::string PlainCollada(std::string content);

} // namespace TellarSceneImport

#endif
