// Asks the manager that is loading it: what it was told is its suite.
#include "AskingSuite.h"

#include <cstdlib>

#include <OxTellarSDK/OxPluginApi.h>
#include <OxTellarSDK/PluginManager.h>

namespace {

using OxPluginManager::PluginManager;

std::size_t ShapeCount() {
    std::vector<std::string> names;
    PluginManager::getPluginNames("TestShapes", names, 1);
    return names.size();
}

AskingSuite suite = {ShapeCount(), 0, false, false};

const void* GetSuite() {
    return &suite;
}

const OxPluginRecord_v1 record = {
    OX_PLUGIN_RECORD_VERSION, "asking", "TestAsking", 1, 0, 0, GetSuite, nullptr, nullptr};

} // namespace

unsigned int OxGetPluginCount() {
    suite.shapesSeenWhenCounted = ShapeCount();
    suite.isItselfSeen = PluginManager::getPlugin("asking", "TestAsking", 1) != nullptr;
    suite.isLaterPluginSeen = PluginManager::getPlugin("thrower", "TestThrowing", 1) != nullptr;
    const char* folder = std::getenv("TELLAR_TEST_FOLDER_ADDED_WHILE_LOADING");
    if (folder) PluginManager::addSearchPath(folder);
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return &record;
}
