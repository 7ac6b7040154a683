#include <OxTellarProducers/ArchPath.h>

#include <OxTellarSDK/StringUtil.h>

namespace TELLAR {

std::string GetArchString() {
    return "tarnix1";
}

std::string ExpandArchPath(const std::string& path) {
    return OxStringUtil::replace(path, "%ARCH", GetArchString(), -1);
}

} // namespace TELLAR
