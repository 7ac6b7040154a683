#ifndef OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOST_H
#define OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOST_H

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>

namespace TELLAR {

// The suite "RenderOutputUtilsHost", which lives to the end of the process.

const OxRenderOutputUtilsHostSuite_v4* GetRenderOutputUtilsHostSuite_v4();
const OxRenderOutputUtilsHostSuite_v3* GetRenderOutputUtilsHostSuite_v3();

} // namespace TELLAR

#endif
