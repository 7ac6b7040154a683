#include "AttributeSuite4Test.h"

#include <stddef.h>
#include <string.h>

#define CHECK(condition)                                                                           \
    if (!(condition)) return __LINE__

/* Whether the call assigned an error of this code, which is released. */
static int isError(const OxAttributeSuite_v4* suite, OxErrorStruct** error, OxErrorCode code) {
    OxErrorFacts facts;
    int isAsExpected;
    suite->getErrorFacts(*error, &facts);
    isAsExpected = facts.code == code && facts.text[0] != '\0';
    suite->releaseError(*error);
    *error = NULL;
    return isAsExpected;
}

#define CHECK_ERROR(call, expected)                                                                \
    CHECK((call) == 0);                                                                            \
    CHECK(isError(suite, &error, expected))

static OxAttributeStruct* makeInt(const OxAttributeSuite_v4* suite, int32_t value) {
    return suite->createInt(&value, 1, 1, NULL);
}

int checkCallsWithNullHandles(const OxAttributeSuite_v4* suite) {
    uint64_t words[2] = {7, 7};
    OxErrorStruct* error = NULL;
    OxSamples samples;
    int64_t count = 7;
    double value;
    suite->getHash(NULL, words);
    CHECK(words[0] == 0 && words[1] == 0);
    suite->getHash(NULL, NULL);
    CHECK(suite->isEqual(NULL, NULL) == 1);
    CHECK_ERROR(suite->getIntSample(NULL, 0, &count, &error), kOxErrorBadCall);
    CHECK(count == 0);
    CHECK_ERROR(suite->getFloatSample(NULL, 0, NULL, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->getDoubleSample(NULL, 0, NULL, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->getSamples(NULL, &samples, &error), kOxErrorBadCall);
    CHECK(samples.values == NULL && samples.sampleCount == 0);
    CHECK_ERROR(suite->readInts(NULL, 0, kOxLinear, NULL, 0, &error) + 1, kOxErrorBadCall);
    CHECK_ERROR(suite->readFloats(NULL, 0, kOxLinear, NULL, 0, &error) + 1, kOxErrorBadCall);
    CHECK_ERROR(suite->readDoubles(NULL, 0, kOxLinear, &value, 1, &error) + 1, kOxErrorBadCall);
    CHECK_ERROR(suite->getString(NULL, 0, 0, NULL, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->getChildByIndex(NULL, 0, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->getChildByName(NULL, "a", &error), kOxErrorBadCall);
    CHECK_ERROR(suite->getXml(NULL, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createSamples(NULL, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->withChild(NULL, NULL, NULL, &error), kOxErrorBadCall);
    return 0;
}

int checkCallsThatTakeNoError(const OxAttributeSuite_v4* suite) {
    OxAttributeStruct* value = makeInt(suite, 5);
    OxAttributeStruct* group = suite->createGroup(NULL, NULL, 0, 1, NULL);
    int32_t read = 0;
    CHECK(suite->getIntSample(value, 0, NULL, NULL)[0] == 5);
    CHECK(suite->readInts(value, 0, kOxNearest, &read, 1, NULL) == 1 && read == 5);
    CHECK(suite->getFloatSample(value, 0, NULL, NULL) == NULL);
    CHECK(suite->getSamples(value, NULL, NULL) == 0);
    CHECK(suite->readFloats(NULL, 0, kOxLinear, NULL, 0, NULL) == -1);
    CHECK(suite->getString(value, 0, 0, NULL, NULL) == NULL);
    CHECK(suite->getChildByIndex(NULL, 0, NULL) == NULL);
    CHECK(suite->getChildByName(group, NULL, NULL) == NULL);
    CHECK(suite->createInt(NULL, 1, 1, NULL) == NULL);
    CHECK(suite->createFloat(NULL, 1, 1, NULL) == NULL);
    CHECK(suite->createDouble(NULL, 1, 1, NULL) == NULL);
    CHECK(suite->createString(NULL, 1, 1, NULL) == NULL);
    CHECK(suite->createGroup(NULL, NULL, 1, 1, NULL) == NULL);
    CHECK(suite->getXml(NULL, NULL) == NULL);
    suite->release(value);
    suite->release(group);
    return 0;
}

int checkCallsOfTheWrongType(const OxAttributeSuite_v4* suite) {
    const char* text = "x";
    OxErrorStruct* error = NULL;
    OxSamples samples;
    OxAttributeStruct* number = makeInt(suite, 5);
    OxAttributeStruct* string = suite->createString(&text, 1, 1, NULL);
    OxAttributeStruct* group = suite->createGroup(NULL, NULL, 0, 1, NULL);
    OxAttributeStruct* nothing = suite->createNull(NULL);
    CHECK_ERROR(suite->getFloatSample(number, 0, NULL, &error), kOxErrorValue);
    CHECK_ERROR(suite->getDoubleSample(string, 0, NULL, &error), kOxErrorValue);
    CHECK_ERROR(suite->getIntSample(nothing, 0, NULL, &error), kOxErrorValue);
    CHECK_ERROR(suite->getSamples(string, &samples, &error), kOxErrorValue);
    CHECK_ERROR(suite->getSamples(nothing, &samples, &error), kOxErrorValue);
    CHECK_ERROR(suite->readInts(string, 0, kOxLinear, NULL, 0, &error) + 1, kOxErrorValue);
    CHECK_ERROR(suite->readFloats(group, 0, kOxLinear, NULL, 0, &error) + 1, kOxErrorValue);
    CHECK_ERROR(suite->readDoubles(nothing, 0, kOxLinear, NULL, 0, &error) + 1, kOxErrorValue);
    CHECK_ERROR(suite->getString(number, 0, 0, NULL, &error), kOxErrorValue);
    CHECK_ERROR(suite->getString(group, 0, 0, NULL, &error), kOxErrorValue);
    CHECK(suite->getTupleSize(group) == 0 && suite->getNumberOfValues(nothing) == 0);
    CHECK(suite->getNumberOfTimeSamples(group) == 0 && suite->getSampleTime(group, 0) == 0.0f);
    CHECK(suite->getNumberOfChildren(number) == 0 && suite->getChildName(string, 0) == NULL);
    CHECK(suite->getGroupInherit(number) == 0);
    suite->release(number);
    suite->release(string);
    suite->release(group);
    suite->release(nothing);
    return 0;
}

int checkRefusedCalls(const OxAttributeSuite_v4* suite) {
    const float floats[] = {1, 2, 3};
    const char* name = "a";
    OxErrorStruct* error = NULL;
    OxAttributeStruct* child = makeInt(suite, 1);
    CHECK_ERROR(suite->createFloat(floats, 3, 0, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createFloat(floats, -1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createFloat(floats, 3, 2, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createFloat(floats, 0, INT64_MAX, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createFloat(NULL, 3, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createInt(NULL, 1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createDouble(NULL, 1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createString(&name, 1, 2, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createGroup(&name, &child, -1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createGroup(NULL, &child, 1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createGroup(&name, NULL, 1, 1, &error), kOxErrorBadCall);
    CHECK_ERROR(suite->createFloat(floats, INT64_MAX, 1, &error), kOxErrorMemory);
    suite->release(child);
    return 0;
}

int checkSuccessAssignsNull(const OxAttributeSuite_v4* suite) {
    OxErrorStruct* const left = suite->createError(NULL);
    OxErrorStruct* error = left;
    int32_t number = 5;
    OxAttributeStruct* value = suite->createInt(&number, 1, 1, &error);
    CHECK(error == NULL);
    error = left;
    CHECK(suite->getIntSample(value, 0, NULL, &error) != NULL && error == NULL);
    error = left;
    CHECK(suite->readInts(value, 0, kOxLinear, &number, 1, &error) == 1 && error == NULL);
    error = left;
    suite->release(suite->getXml(value, &error));
    CHECK(error == NULL);
    suite->release(value);
    suite->releaseError(left);
    return 0;
}

int checkReferencesOfResults(const OxAttributeSuite_v4* suite) {
    const char* name = "child";
    const char* text = "some text";
    int64_t length = 0;
    OxAttributeStruct* value = suite->createString(&text, 1, 1, NULL);
    OxAttributeStruct* group = suite->createGroup(&name, &value, 1, 1, NULL);
    OxAttributeStruct* byIndex = suite->getChildByIndex(group, 0, NULL);
    OxAttributeStruct* byName = suite->getChildByName(group, "child", NULL);
    const char* borrowed = suite->getString(value, 0, 0, &length, NULL);
    CHECK(byIndex == value && byName == value && length == 9);
    suite->retain(value);
    suite->release(value);
    suite->release(value);
    suite->release(group);
    suite->release(byIndex);
    CHECK(strcmp(borrowed, "some text") == 0); /* the last reference still holds it */
    suite->release(byName);
    return 0;
}

int checkErrorsOfAPlugin(const OxAttributeSuite_v4* suite) {
    OxErrorFacts facts;
    OxErrorStruct* error;
    memset(&facts, 0, sizeof facts);
    facts.code = kOxErrorCancelled;
    facts.text = "the user went home";
    error = suite->createError(&facts);
    CHECK(error != NULL);
    suite->getErrorFacts(error, &facts);
    CHECK(facts.code == kOxErrorCancelled && strcmp(facts.text, "the user went home") == 0);
    CHECK(strcmp(facts.op, "") == 0 && strcmp(facts.opType, "") == 0);
    CHECK(strcmp(facts.location, "") == 0 && strcmp(facts.attribute, "") == 0);
    CHECK(strcmp(facts.file, "") == 0);
    suite->getErrorFacts(error, NULL);
    CHECK(strcmp(suite->getErrorPlace(error), "") == 0);
    CHECK(strcmp(suite->getErrorPlace(NULL), "") == 0);
    suite->releaseError(error);
    return 0;
}

int checkTooDeep(const OxAttributeSuite_v4* suite) {
    const char* name = "g";
    OxErrorStruct* error = NULL;
    OxAttributeStruct* group = suite->createGroup(NULL, NULL, 0, 1, NULL);
    int depth;
    for (depth = 1; depth < 2048; ++depth) {
        OxAttributeStruct* outer = suite->createGroup(&name, &group, 1, 1, NULL);
        CHECK(outer != NULL);
        suite->release(group);
        group = outer;
    }
    CHECK_ERROR(suite->createGroup(&name, &group, 1, 1, &error), kOxErrorValue);
    suite->release(group);
    return 0;
}

int readFloatsOften(const OxAttributeSuite_v4* suite, const OxAttributeStruct* floats) {
    OxErrorStruct* error = NULL;
    int round;
    for (round = 0; round < 2000; ++round) {
        OxSamples samples;
        double values[2];
        CHECK(suite->getSamples(floats, &samples, &error) == 1 && samples.sampleCount == 2);
        CHECK(((const float*)samples.values)[3] == 14.0f && samples.times[1] == 1.0f);
        CHECK(suite->readDoubles(floats, 0, kOxLinear, values, 2, &error) == 2);
        CHECK(values[0] == 1.0 && values[1] == 12.0);
        CHECK_ERROR(suite->getIntSample(floats, 0, NULL, &error), kOxErrorValue);
    }
    return 0;
}
