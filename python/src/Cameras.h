#ifndef TELLAR_PYTHON_CAMERAS_H
#define TELLAR_PYTHON_CAMERAS_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

/// Python's class Camera for the camera at a path, or for the render camera when that is empty.
/// Raises NotFoundError when there is no camera.
nanobind::object CameraAt(const TELLAR::GeometryProducer::Ptr& root, const std::string& path);

} // namespace TellarPython

#endif
