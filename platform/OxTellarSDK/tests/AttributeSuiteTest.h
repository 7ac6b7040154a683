#ifndef OXTELLARSDK_TESTS_ATTRIBUTESUITETEST_H
#define OXTELLARSDK_TESTS_ATTRIBUTESUITETEST_H

/* The tests of the attribute suite that are written in C, the way a plug-in uses it. Each returns
   0, or the line of AttributeSuiteTest.c at which something was not as it should be. */

#include <OxTellarSDK/AttributeSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int AttributeSuiteCheck(const OxAttributeSuite_v1* suite);

AttributeSuiteCheck checkNullHandles;
AttributeSuiteCheck checkNumbers;
AttributeSuiteCheck checkStrings;
AttributeSuiteCheck checkNullValue;
AttributeSuiteCheck checkGroups;
AttributeSuiteCheck checkLeftOutAndRepeatedChildren;
AttributeSuiteCheck checkDottedPaths;
AttributeSuiteCheck checkEqualityAndHashes;
AttributeSuiteCheck checkReferences;
AttributeSuiteCheck checkWrongTypes;
AttributeSuiteCheck checkRefusedValues;
AttributeSuiteCheck checkTooDeepGroups;
AttributeSuiteCheck checkXml;

/* Reads the float attribute {1: 10 11, 3: 20 21} that a host made. */
int checkTimeSamples(const OxAttributeSuite_v1* suite, const OxAttributeStruct* floats);

#ifdef __cplusplus
}
#endif

#endif
