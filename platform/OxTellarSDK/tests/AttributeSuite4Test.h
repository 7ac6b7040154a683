#ifndef OXTELLARSDK_TESTS_ATTRIBUTESUITE4TEST_H
#define OXTELLARSDK_TESTS_ATTRIBUTESUITE4TEST_H

/* The tests of version 4 of the attribute suite that are written in C, the way a plug-in uses it.
   Each returns 0, or the line of AttributeSuite4Test.c at which something was not as it should
   be. */

#include <OxTellarSDK/AttributeSuite4.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int AttributeSuite4Check(const OxAttributeSuite_v4* suite);

AttributeSuite4Check checkCallsWithNullHandles;
AttributeSuite4Check checkCallsThatTakeNoError;
AttributeSuite4Check checkCallsOfTheWrongType;
AttributeSuite4Check checkRefusedCalls;
AttributeSuite4Check checkSuccessAssignsNull;
AttributeSuite4Check checkReferencesOfResults;
AttributeSuite4Check checkErrorsOfAPlugin;
AttributeSuite4Check checkTooDeep;

/* Reads everything of the float attribute {-1: 0 10, 1: 2 14} again and again. */
int readFloatsOften(const OxAttributeSuite_v4* suite, const OxAttributeStruct* floats);

#ifdef __cplusplus
}
#endif

#endif
