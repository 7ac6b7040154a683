#ifndef SCENEIMPORT_SCENELOG_H
#define SCENEIMPORT_SCENELOG_H

#include <string>

#include "NamedLogger.h"

namespace TellarSceneImport {

/// Logs a warning about the scene file at `path`.
void WarnAboutScene(const std::string& path, const std::string& about, LogPlace place = {});

} // namespace TellarSceneImport

#endif
