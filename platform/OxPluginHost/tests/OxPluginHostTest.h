#ifndef OXPLUGINHOST_TESTS_OXPLUGINHOSTTEST_H
#define OXPLUGINHOST_TESTS_OXPLUGINHOSTTEST_H

/* The tests of the host record that are written in C, the way a plug-in uses it. Each returns 0,
   or the line of OxPluginHostTest.c at which something was not as it should be. */

#include <OxPluginHost/OxPluginHost.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int PluginHostCheck(const OxPluginHost* host);

PluginHostCheck checkEleventhMember;
PluginHostCheck checkNullPointers;
PluginHostCheck checkSuites;
PluginHostCheck checkRefusedSuites;
PluginHostCheck checkPlugins;
PluginHostCheck checkGuest;
/* Expects "TELLAR_TEST_TEXT" to be "a text", "TELLAR_TEST_EMPTY" to be empty, and
   "TELLAR_TEST_NONE" to have no value. */
PluginHostCheck checkConfiguration;
/* Expects the logger "TestGuestLog" to be at level info. Logs one message of every level to it,
   from line 11 on, and some that must not arrive. */
PluginHostCheck checkLog;

#ifdef __cplusplus
}
#endif

#endif
