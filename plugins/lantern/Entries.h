#ifndef LANTERN_ENTRIES_H
#define LANTERN_ENTRIES_H

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRendererPluginSuite2.h>

namespace lantern {

/// The functions that the host gets from the plug-in. None lets an exception out.
int SetHost(OxPluginHost* host);
/// An OxRendererPluginSuite_v1.
const void* GetSuite1();
/// An OxRendererPluginSuite_v2.
const void* GetSuite2();

} // namespace lantern

#endif
