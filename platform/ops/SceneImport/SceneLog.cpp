#include "SceneLog.h"

namespace TellarSceneImport {

namespace {

const NamedLogger kLogger("SceneImport");

} // namespace

void WarnAboutScene(const std::string& path, const std::string& about, LogPlace place) {
    kLogger.warn({"Scene file \"{}\": {}", place}, path, about);
}

} // namespace TellarSceneImport
