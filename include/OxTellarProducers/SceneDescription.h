#ifndef OXTELLARPRODUCERS_SCENEDESCRIPTION_H
#define OXTELLARPRODUCERS_SCENEDESCRIPTION_H

#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/FileStream.h>

namespace TELLAR {

/// The kinds of files that a scene can be opened from.
enum class SceneKind {
    OpFile,          ///< a serialised op file
    AttributeStream, ///< an op-tree description as an attribute stream
    Json,            ///< an op-tree description as JSON
    Capture,         ///< what was recorded of a scene (OxTellarSDK/Capture.h)
    SceneFile        ///< anything else: geometry that the op type SceneImport reads
};

/// A scene as a file describes it, before anything of it is cooked.
struct SceneDescription {
    SceneKind kind = SceneKind::SceneFile;
    /// The op tree, as OpTreeAttributeSource takes it. It has at least one op.
    OxAttribute::GroupAttribute ops;
    /// The place of every op: the line and column for JSON, otherwise the name of the file. Empty
    /// for a scene file, which the errors about its op name already. The rest is filled for JSON
    /// only.
    OxAttribute::DescriptionText text;
};

/// Reads the description of a scene. The kind of the file is told by its content first and by its
/// extension second. A scene file is not read yet: its description has one op, which imports it.
/// The description of a capture has one op, too, which presents it.
///
/// Throws TellarError naming the file and what is wrong with it. A directory, a pipe or a device is
/// refused.
TELLAR_API SceneDescription ReadSceneDescription(const std::string& path);

/// Overload for a file that is open, decompresses, and has not been read. Errors about descriptions
/// call it `name`, and their relative files count from the folder of `name`.
TELLAR_API SceneDescription ReadSceneDescription(OxAttribute::FileStream& file,
                                                 const std::string& name);

/// An op tree of one op, which imports the file. A relative path counts from `directory` or, if
/// that is empty, from the working directory.
TELLAR_API OxAttribute::GroupAttribute DescribeImport(const std::string& file,
                                                      const std::string& directory = {});

/// Why a group is no op-tree description: it holds no op, or something else. Empty for one that is.
TELLAR_API std::string OpTreeDefect(const OxAttribute::GroupAttribute& description);

} // namespace TELLAR

#endif
