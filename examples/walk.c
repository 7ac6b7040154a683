/* The same as walk.cpp in C, through the tables of functions that plug-ins use: walk_c <op file> */
#include <stdio.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite.h>

static const OxScenegraphIteratorHostSuite_v3* iterators;
static const OxAttributeSuite_v1* attributes;

/* Takes over the reference that the attribute carries. */
static void printText(OxAttributeStruct* attribute) {
    const char* text = attributes->getString(attribute, 0, 0);
    fputs(text ? text : "", stdout);
    attributes->release(attribute);
}

static void print(OxSgIteratorStruct* location) {
    OxSgIteratorStruct* child;
    printText(iterators->getFullName(location));
    fputs("  ", stdout);
    printText(iterators->getAttribute(location, "type"));
    putchar('\n');

    child = iterators->getFirstChild(location, false);
    while (child) {
        OxSgIteratorStruct* next;
        iterators->retainIterator(child); /* it comes without a reference */
        print(child);
        next = iterators->getNextSibling(child, false);
        iterators->releaseIterator(child);
        child = next;
    }
}

int main(int argc, char** argv) {
    OxPluginHost* host = OxGetPluginHost();
    OxSgIteratorStruct* root;
    if (argc != 2) {
        fputs("usage: walk_c <op file>\n", stderr);
        return 1;
    }
    OxTellarProducersInitialize(host);
    iterators = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    attributes = host->getSuite("AttributeHost", 1);

    root = iterators->createRootIteratorFromOpTreeFile(argv[1]); /* carries a reference */
    if (!root) return 1; /* why not stands on standard error already */
    print(root);
    iterators->releaseIterator(root);
    return 0;
}
