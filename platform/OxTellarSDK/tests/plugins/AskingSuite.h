#ifndef TELLAR_TEST_ASKINGSUITE_H
#define TELLAR_TEST_ASKINGSUITE_H

#include <cstddef>

/// The answers that the manager gave the plug-in "asking" while it was being loaded.
struct AskingSuite {
    std::size_t shapesSeenByInitialiser;
    std::size_t shapesSeenWhenCounted;
    bool isItselfSeen;
    /// A plug-in of a folder further back on the search path.
    bool isLaterPluginSeen;
};

#endif
