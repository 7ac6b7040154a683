#ifndef TELLAR_TOOL_PORTABLEFILES_H
#define TELLAR_TOOL_PORTABLEFILES_H

#include <cstddef>
#include <string>

#include <OxTellarSDK/Attribute.h>

#include "Scene.h"

namespace TellarTool {

/// A description that is about to be written, and how it names files.
struct PortableDescription {
    OxAttribute::GroupAttribute description;
    std::size_t absoluteFiles = 0; ///< ops whose "file" is an absolute path, which is kept
};

/// Makes the relative files of all ops relative to `folder`, the folder of the file to be written,
/// so that both can be moved together. Readers of descriptions make them absolute again.
PortableDescription WithPortableFiles(const OxAttribute::GroupAttribute& description,
                                      const std::string& folder, SceneKind kind);

} // namespace TellarTool

#endif
