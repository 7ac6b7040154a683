#ifndef TELLAR_PYTHON_EDITS_H
#define TELLAR_PYTHON_EDITS_H

#include <memory>

#include <OxTellarProducers/Scene.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

/// Python's class SceneEdit, empty, for a scene.
nanobind::object EditOf(const std::shared_ptr<TELLAR::Scene>& scene);

} // namespace TellarPython

#endif
