#ifndef SCENEIMPORT_SCENEFORMAT_H
#define SCENEIMPORT_SCENEFORMAT_H

#include <string>

#include "FileStamp.h"

namespace TellarSceneImport {

/// The extension, as LowerExtension() has it, of the format of a scene file. The first bytes of
/// binary glTF and of PLY count more than the name. Throws std::runtime_error for what is often
/// downloaded in place of a model: a web page, or a pointer of Git LFS.
std::string SceneFormatOf(const FileStamp& stamp);

/// The axis, 'y' or 'z', that points up in a file of this format whose reader does not turn it.
char UpAxisOf(const std::string& format);

} // namespace TellarSceneImport

#endif
