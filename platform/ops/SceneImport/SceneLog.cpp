#include "SceneLog.h"

#include <OxTellarSDK/CurrentOp.h>

#include "PerThread.h"

namespace TellarSceneImport {

namespace {

const NamedLogger kLogger("SceneImport");

TELLAR_THREAD_WORD const std::string* messagePrefix = nullptr; // see MessagePrefix

} // namespace

void WarnAboutScene(const std::string& path, const std::string& about, LogPlace place) {
    kLogger.warn({"{}Scene file \"{}\": {}", place}, CurrentOpPrefix(), path, about);
}

MessagePrefix::MessagePrefix(const std::string& text) noexcept {
    messagePrefix = &text;
}
MessagePrefix::~MessagePrefix() {
    messagePrefix = nullptr;
}

std::string CurrentOpPrefix() {
    if (messagePrefix) return *messagePrefix;
    const std::string op = OxOpType::DescribeCurrentOp();
    return op.empty() ? op : op + ": ";
}

} // namespace TellarSceneImport
