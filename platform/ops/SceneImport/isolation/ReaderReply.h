#ifndef SCENEIMPORT_READERREPLY_H
#define SCENEIMPORT_READERREPLY_H

#include <string>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarSDK/Attribute.h>

#include "FileStamp.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The reply of the scene reader, one attribute stream on its standard output.
struct ReaderReply {
    /// The files that were accessed.
    std::vector<FileStamp> files;
    /// The messages that the reader would have logged.
    std::vector<OxLogMessage> messages;
    /// The reason why the scene file cannot be read; empty when it was read.
    std::string error;
    SceneContent content;
};

/// The exit status of a reader that gets no more memory.
constexpr int kOutOfMemoryStatus = 3;

OxAttribute::GroupAttribute ToGroup(const ReaderReply& reply);

/// Throws std::runtime_error when the attribute is not a reply.
ReaderReply ReplyFrom(const OxAttribute::GroupAttribute& group);

} // namespace TellarSceneImport

#endif
