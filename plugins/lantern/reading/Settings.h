#ifndef LANTERN_READING_SETTINGS_H
#define LANTERN_READING_SETTINGS_H

#include "SceneData.h"
#include "reading/Location.h"
#include "reading/Shutter.h"

namespace lantern {

/// Reads the root's "renderSettings". All functions throw a RenderError that names an invalid
/// setting.

/// "shutterOpen" and "shutterClose", relative to the frame.
Shutter ReadShutter(const Location& root, float frame);

/// "resolution", "cropWindow" (x min, x max, y min, y max as fractions of the picture, y from the
/// top) and "tileRender" (column, row, columns, rows; row 0 at the top).
Framing ReadFraming(const Suites& suites, const Location& root);

/// "noise", "minutes" and the members of "lantern", named as those of Quality.
Quality ReadQuality(const Location& root);

/// Reads the camera at "cameraName": its lens at the frame, its motion over the whole shutter.
Camera ReadCamera(const Suites& suites, const Location& root, float frame, const Shutter& shutter);

} // namespace lantern

#endif
