// The layouts of the tables that plug-ins fill and this project reads.

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

#include "SuiteTable.h"

using Delegate = OxScenegraphLocationDelegatePluginSuite_v1;
static_assert(sizeof(Delegate) == 5 * sizeof(void*));
TELLAR_CHECK_SLOT(Delegate, 0, create);
TELLAR_CHECK_SLOT(Delegate, 1, destroy);
TELLAR_CHECK_SLOT(Delegate, 2, getReplacement);
TELLAR_CHECK_SLOT(Delegate, 3, getSupportedRenderer);
TELLAR_CHECK_SLOT(Delegate, 4, getSupportedLocationTypes);

using Renderer = OxRendererPluginSuite_v1;
static_assert(sizeof(Renderer) == 2 * sizeof(void*));
TELLAR_CHECK_SLOT(Renderer, 0, render);
TELLAR_CHECK_SLOT(Renderer, 1, stitch);

using Listener = OxRenderListener_v1;
static_assert(sizeof(Listener) == 5 * sizeof(void*));
TELLAR_CHECK_SLOT(Listener, 0, onProgress);
TELLAR_CHECK_SLOT(Listener, 1, onMessage);
TELLAR_CHECK_SLOT(Listener, 2, onPicture);
TELLAR_CHECK_SLOT(Listener, 3, isCancelled);
TELLAR_CHECK_SLOT(Listener, 4, user);
