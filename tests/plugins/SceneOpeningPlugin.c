/* A plug-in that opens a scene and walks it as soon as it is given the host: while plug-ins are
   being loaded. Its function table is null unless that went well. */

#include <stdlib.h>

#include "ChecksPlugin.h"

static int hasFoundLocation;

static int openScene(struct OxPluginHost* newHost) {
    const OxScenegraphIteratorHostSuite_v3* iterators;
    OxSgIteratorStruct* root;
    OxSgIteratorStruct* child;
    setHost(newHost);
    if (!newHost) return 0;
    iterators = getSuites().iterators;
    root = iterators->createRootIteratorFromOpTreeFile(getenv("TELLAR_TEST_SCENE"));
    child = iterators->getFirstChild(root, 0);
    hasFoundLocation = child != NULL;
    iterators->retainIterator(child);
    iterators->releaseIterator(child);
    iterators->releaseIterator(root);
    return 0;
}

static const void* getSuite(void) {
    return hasFoundLocation ? &hasFoundLocation : NULL;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "scene opener",
                                         "TestSceneOpener",
                                         1,
                                         1,
                                         0,
                                         getSuite,
                                         openScene,
                                         NULL};

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
