#ifndef TELLAR_PYTHON_CLASSES_H
#define TELLAR_PYTHON_CLASSES_H

#include <nanobind/nanobind.h>

namespace TellarPython {

// Each adds the classes and functions of one file to the module.
void AddAttributes(nanobind::module_& module);
void AddCameras(nanobind::module_& module);
void AddEdits(nanobind::module_& module);
void AddLocations(nanobind::module_& module);
void AddMaterials(nanobind::module_& module);
void AddMemory(nanobind::module_& module);
void AddOpGraphs(nanobind::module_& module);
void AddOpTypes(nanobind::module_& module);
void AddRendering(nanobind::module_& module);
void AddScenes(nanobind::module_& module);
void AddWalk(nanobind::module_& module);

} // namespace TellarPython

#endif
