#ifndef OXPLUGINHOST_TESTS_GUESTSUITE_H
#define OXPLUGINHOST_TESTS_GUESTSUITE_H

#include <OxPluginHost/OxPluginHost.h>

/* The suite of the plug-in "guest" for the API "TestGuests", version 1. C99. */
typedef struct GuestSuite {
    /* The host that the plug-in was given last. */
    OxPluginHost* (*host)(void);
    /* How many times it was given one. */
    int (*timesGivenHost)(void);
    /* The attribute that the plug-in made when it was given a host, borrowed. */
    OxAttributeStruct* (*madeAttribute)(void);
} GuestSuite;

/* The suite that the plug-in registers with the host, as "TestGuestGreeting", version 3. */
typedef struct GreetingSuite {
    const char* (*greeting)(void);
} GreetingSuite;

#endif
