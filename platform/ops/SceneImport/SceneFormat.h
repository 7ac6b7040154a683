#ifndef SCENEIMPORT_SCENEFORMAT_H
#define SCENEIMPORT_SCENEFORMAT_H

#include <string>

#include "FileStamp.h"

namespace TellarSceneImport {

/// The extension of a scene file's format, in the form of LowerExtension(). Binary glTF and PLY are
/// recognised by their first bytes, whatever the name. Throws std::runtime_error for files that are
/// often downloaded in place of a model: web pages, and pointers of Git LFS.
std::string SceneFormatOf(const FileStamp& stamp);

/// The axis that points up in the content that the reader of this format returns: 'y' or 'z'.
char UpAxisOf(const std::string& format);

} // namespace TellarSceneImport

#endif
