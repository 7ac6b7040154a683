#ifndef SCENEIMPORT_DEFORMATION_H
#define SCENEIMPORT_DEFORMATION_H

#include <string>
#include <vector>

#include "Motion.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

class Document;

/// Applies the morph targets and skins of a glTF file to the shapes of `content`. `sources` holds
/// the index of each of its nodes in the file, or -1 for a node that was added; the shapes of a
/// node are the primitives of its mesh.
///
/// The transform of a node with a skin does not move its mesh: the joints do. So its shapes become
/// shapes of the root node, with points in the space of that. If all samples together would be
/// larger than kMaxMotionBytes, a warning that names `path` says that there are fewer.
void DeformShapes(const Document& document, const std::vector<int>& sources,
                  const GltfAnimation& animation, const std::string& path, SceneContent& content);

} // namespace TellarSceneImport

#endif
