#ifndef OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOST_H
#define OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOST_H

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

namespace TELLAR {

/// The suite "RenderOutputUtilsHost", which lives to the end of the process.
const OxRenderOutputUtilsHostSuite_v3* GetRenderOutputUtilsHostSuite_v3();

} // namespace TELLAR

#endif
