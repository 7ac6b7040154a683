#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <nanobind/nanobind.h>

#include "Classes.h"
#include "Errors.h"

NB_MODULE(_tellar, module) {
    module.doc() = "The compiled part of the package tellar. Import that instead.";
    // For renderers and other plug-ins that ask for the library's suites.
    if (OxTellarProducersInitialize(OxGetPluginHost()) != 0)
        throw nanobind::import_error("the plug-in host does not take the suites of the library");
    // A program may end while threads of it use the module. Tests ask for the warnings.
    nanobind::set_leak_warnings(false);
    module.def("_set_leak_warnings", nanobind::set_leak_warnings, nanobind::arg("on"),
               "Whether objects that are left at the end of the process are reported.");
    TellarPython::TranslateErrors();
    TellarPython::AddAttributes(module);
    TellarPython::AddLocations(module);
    TellarPython::AddWalk(module);
    TellarPython::AddCameras(module);
    TellarPython::AddMaterials(module);
    TellarPython::AddMemory(module);
    TellarPython::AddEdits(module);
    TellarPython::AddScenes(module);
    TellarPython::AddOpTypes(module);
    TellarPython::AddOpGraphs(module);
    TellarPython::AddRendering(module);
}
