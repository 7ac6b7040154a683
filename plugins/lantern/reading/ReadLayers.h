#ifndef LANTERN_READING_READLAYERS_H
#define LANTERN_READING_READLAYERS_H

#include "SceneData.h"
#include "reading/Location.h"

namespace lantern {

/// Reads "renderSettings.aovs", strings of one or more names each, separated by commas. Throws a
/// RenderError that names an unknown layer.
LayerChoice ReadLayers(const Location& root);

} // namespace lantern

#endif
