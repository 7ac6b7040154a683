/* One variable for every table, record and enum that plug-ins and hosts in C share, so that their
   layout is in the debug information of this file. */
#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxRendererPluginSuite2.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/ErrorSuite.h>
#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#define SHARED(type)                                                                               \
    extern __attribute__((visibility("default"))) type shared_##type;                              \
    type shared_##type

SHARED(AttributeType);
SHARED(OxAttributeSuite_v1);
SHARED(OxAttributeSuite_v4);
SHARED(OxChange);
SHARED(OxChangeKind);
SHARED(OxCookSuite);
SHARED(OxErrorCode);
SHARED(OxErrorFacts);
SHARED(OxInterpolation);
SHARED(OxLens);
SHARED(OxOpArgument);
SHARED(OxOpDescription);
SHARED(OxOpTypePluginSuite_v2);
SHARED(OxPixelRegion);
SHARED(OxPluginHost);
SHARED(OxPluginRecord_v1);
SHARED(OxProceduralContext_v1);
SHARED(OxProceduralForm);
SHARED(OxRenderJob_v1);
SHARED(OxRenderJob_v2);
SHARED(OxRenderLayer);
SHARED(OxRenderListener_v1);
SHARED(OxRenderListener_v2);
SHARED(OxRenderOutputUtilsHostSuite_v3);
SHARED(OxRenderOutputUtilsHostSuite_v4);
SHARED(OxRenderStatus);
SHARED(OxRenderWish);
SHARED(OxRendererPluginSuite_v1);
SHARED(OxRendererPluginSuite_v2);
SHARED(OxSamples);
SHARED(OxScenegraphIteratorHostSuite_v2);
SHARED(OxScenegraphIteratorHostSuite_v3);
SHARED(OxScenegraphIteratorHostSuite_v4);
SHARED(OxScenegraphLocationDelegatePluginSuite_v1);
SHARED(OxSubtree);
SHARED(OxVisit);
SHARED(OxVisitEnd);
SHARED(OxVisitOptions);
SHARED(OxVisitWish);
