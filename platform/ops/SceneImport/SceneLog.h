#ifndef SCENEIMPORT_SCENELOG_H
#define SCENEIMPORT_SCENELOG_H

#include <string>

#include "NamedLogger.h"

namespace TellarSceneImport {

/// Logs a warning about the scene file at `path`.
void WarnAboutScene(const std::string& path, const std::string& about, LogPlace place = {});

/// The beginning of a message: the op that reads the scene file, if one does.
std::string CurrentOpPrefix();

/// The messages of the calling thread begin with this while the object lives: for a thread that
/// reads for another one.
class MessagePrefix {
public:
    /// The text has to live as long as the object.
    explicit MessagePrefix(const std::string& text) noexcept;
    ~MessagePrefix();
    MessagePrefix(const MessagePrefix&) = delete;
    MessagePrefix& operator=(const MessagePrefix&) = delete;
};

} // namespace TellarSceneImport

#endif
