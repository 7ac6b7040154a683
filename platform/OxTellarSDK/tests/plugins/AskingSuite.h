#ifndef TELLAR_TEST_ASKINGSUITE_H
#define TELLAR_TEST_ASKINGSUITE_H

#include <cstddef>

/// What the plug-in "asking" saw of its manager while it was being loaded.
struct AskingSuite {
    std::size_t shapesSeenByInitialiser;
    std::size_t shapesSeenWhenCounted;
    bool isItselfSeen;
    /// A plug-in of a folder further back on the search path.
    bool isLaterPluginSeen;
};

#endif
