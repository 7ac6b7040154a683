/* walk.cpp in C, through the tables of functions that plug-ins use. Usage: walk_c <op file> */
#include <stdio.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite.h>

static const OxScenegraphIteratorHostSuite_v3* iterators;
static const OxAttributeSuite_v1* attributes;

/* Prints the text of an attribute and releases it. */
static void PrintText(OxAttributeStruct* attribute) {
    const char* text = attributes->getString(attribute, 0, 0);
    fputs(text ? text : "", stdout);
    attributes->release(attribute);
}

static void PrintTree(OxSgIteratorStruct* location) {
    OxSgIteratorStruct* child;
    PrintText(iterators->getFullName(location));
    fputs("  ", stdout);
    PrintText(iterators->getAttribute(location, "type"));
    putchar('\n');

    child = iterators->getFirstChild(location, false);
    while (child) {
        OxSgIteratorStruct* next;
        iterators->retainIterator(child); /* the suite returns it without a reference */
        PrintTree(child);
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
    if (!root) return 1; /* the reason has been logged to standard error */
    PrintTree(root);
    iterators->releaseIterator(root);
    return 0;
}
