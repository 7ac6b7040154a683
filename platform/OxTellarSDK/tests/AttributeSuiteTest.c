#include "AttributeSuiteTest.h"

#include <string.h>

#define CHECK(condition)                                                                           \
    if (!(condition)) return __LINE__

static OxAttributeStruct* makeInt(const OxAttributeSuite_v1* suite, int32_t value) {
    return suite->createInt(&value, 1, 1);
}

static int32_t intValue(const OxAttributeSuite_v1* suite, const OxAttributeStruct* attribute) {
    int64_t count = 0;
    const int32_t* values = suite->getIntSample(attribute, 0, &count);
    return count > 0 ? values[0] : -1;
}

int checkNullHandles(const OxAttributeSuite_v1* suite) {
    uint64_t words[2] = {7, 7};
    int64_t count = 7;
    suite->retain(NULL);
    suite->release(NULL);
    CHECK(suite->getType(NULL) == kAttributeTypeInvalid);
    suite->getHash(NULL, words);
    CHECK(words[0] == 0 && words[1] == 0);
    suite->getHash(NULL, NULL);
    CHECK(suite->isEqual(NULL, NULL) == 1);
    CHECK(suite->getTupleSize(NULL) == 0);
    CHECK(suite->getNumberOfValues(NULL) == 0);
    CHECK(suite->getNumberOfTimeSamples(NULL) == 0);
    CHECK(suite->getSampleTime(NULL, 0) == 0.0f);
    CHECK(suite->getIntSample(NULL, 0, &count) == NULL && count == 0);
    count = 7;
    CHECK(suite->getFloatSample(NULL, 0, &count) == NULL && count == 0);
    count = 7;
    CHECK(suite->getDoubleSample(NULL, 0, &count) == NULL && count == 0);
    CHECK(suite->getIntSample(NULL, 0, NULL) == NULL);
    CHECK(suite->getString(NULL, 0, 0) == NULL);
    CHECK(suite->getNumberOfChildren(NULL) == 0);
    CHECK(suite->getChildName(NULL, 0) == NULL);
    CHECK(suite->getChildByIndex(NULL, 0) == NULL);
    CHECK(suite->getChildByName(NULL, "a") == NULL);
    CHECK(suite->getChildByName(NULL, NULL) == NULL);
    CHECK(suite->getGroupInherit(NULL) == 0);
    CHECK(suite->getXml(NULL) == NULL);
    return 0;
}

int checkNumbers(const OxAttributeSuite_v1* suite) {
    const int32_t ints[] = {1, -2, 3, -4};
    const float floats[] = {0.5f, -0.0f};
    const double doubles[] = {1e300};
    int64_t count = -1;
    OxAttributeStruct* a = suite->createInt(ints, 4, 2);
    OxAttributeStruct* b = suite->createFloat(floats, 2, 1);
    OxAttributeStruct* c = suite->createDouble(doubles, 1, 1);
    OxAttributeStruct* empty = suite->createInt(NULL, 0, 3);
    CHECK(suite->getType(a) == kAttributeTypeInt);
    CHECK(suite->getType(b) == kAttributeTypeFloat);
    CHECK(suite->getType(c) == kAttributeTypeDouble);
    CHECK(suite->getTupleSize(a) == 2);
    CHECK(suite->getNumberOfValues(a) == 4);
    CHECK(suite->getNumberOfTimeSamples(a) == 1);
    CHECK(suite->getSampleTime(a, 0) == 0.0f && suite->getSampleTime(a, 1) == 0.0f);
    CHECK(memcmp(suite->getIntSample(a, 5.0f, &count), ints, sizeof ints) == 0 && count == 4);
    CHECK(memcmp(suite->getFloatSample(b, 0, &count), floats, sizeof floats) == 0 && count == 2);
    CHECK(suite->getDoubleSample(c, 0, &count)[0] == 1e300 && count == 1);
    CHECK(suite->getIntSample(a, 0, NULL)[3] == -4);
    suite->getIntSample(empty, 0, &count);
    CHECK(suite->getType(empty) == kAttributeTypeInt && count == 0);
    CHECK(suite->getTupleSize(empty) == 3 && suite->getNumberOfValues(empty) == 0);
    suite->release(a);
    suite->release(b);
    suite->release(c);
    suite->release(empty);
    return 0;
}

int checkTimeSamples(const OxAttributeSuite_v1* suite, const OxAttributeStruct* floats) {
    int64_t count = 0;
    CHECK(suite->getNumberOfTimeSamples(floats) == 2);
    CHECK(suite->getNumberOfValues(floats) == 2);
    CHECK(suite->getSampleTime(floats, 0) == 1.0f);
    CHECK(suite->getSampleTime(floats, 1) == 3.0f);
    CHECK(suite->getSampleTime(floats, 2) == 0.0f && suite->getSampleTime(floats, -1) == 0.0f);
    CHECK(suite->getFloatSample(floats, 2.0f, &count)[1] == 11.0f && count == 2);
    CHECK(suite->getFloatSample(floats, 2.5f, &count)[1] == 21.0f && count == 2);
    return 0;
}

int checkStrings(const OxAttributeSuite_v1* suite) {
    const char* values[3];
    OxAttributeStruct* strings;
    OxAttributeStruct* empty;
    values[0] = "one";
    values[1] = "";
    values[2] = NULL; /* taken as an empty one */
    strings = suite->createString(values, 3, 1);
    CHECK(suite->getType(strings) == kAttributeTypeString);
    CHECK(suite->getNumberOfValues(strings) == 3);
    CHECK(strcmp(suite->getString(strings, 0, 0), "one") == 0);
    CHECK(strcmp(suite->getString(strings, 0, 1), "") == 0);
    CHECK(strcmp(suite->getString(strings, 0, 2), "") == 0);
    CHECK(suite->getString(strings, 0, 3) == NULL);
    CHECK(suite->getString(strings, 0, -1) == NULL);
    suite->release(strings);
    empty = suite->createString(NULL, 0, 1);
    CHECK(suite->getType(empty) == kAttributeTypeString);
    CHECK(suite->getString(empty, 0, 0) == NULL);
    suite->release(empty);
    return 0;
}

int checkNullValue(const OxAttributeSuite_v1* suite) {
    OxAttributeStruct* value = suite->createNull();
    CHECK(suite->getType(value) == kAttributeTypeNull);
    CHECK(suite->getNumberOfValues(value) == 0 && suite->getNumberOfTimeSamples(value) == 0);
    CHECK(suite->getTupleSize(value) == 0 && suite->getNumberOfChildren(value) == 0);
    CHECK(suite->isEqual(value, NULL) == 0);
    suite->release(value);
    return 0;
}

int checkGroups(const OxAttributeSuite_v1* suite) {
    const char* names[] = {"first", "", "a.b"};
    OxAttributeStruct* children[3];
    OxAttributeStruct* group;
    OxAttributeStruct* found;
    int i;
    for (i = 0; i < 3; ++i)
        children[i] = makeInt(suite, i + 10);
    group = suite->createGroup(names, children, 3, 1);
    for (i = 0; i < 3; ++i)
        suite->release(children[i]); /* the group has its own */
    CHECK(suite->getType(group) == kAttributeTypeGroup);
    CHECK(suite->getNumberOfChildren(group) == 3);
    CHECK(suite->getGroupInherit(group) == 1);
    for (i = 0; i < 3; ++i) {
        CHECK(strcmp(suite->getChildName(group, i), names[i]) == 0);
        found = suite->getChildByIndex(group, i);
        CHECK(intValue(suite, found) == i + 10);
        suite->release(found);
    }
    CHECK(suite->getChildName(group, 3) == NULL && suite->getChildName(group, -1) == NULL);
    CHECK(suite->getChildByIndex(group, 3) == NULL && suite->getChildByIndex(group, -1) == NULL);
    suite->release(group);
    group = suite->createGroup(NULL, NULL, 0, 0);
    CHECK(suite->getType(group) == kAttributeTypeGroup && suite->getGroupInherit(group) == 0);
    CHECK(suite->getNumberOfChildren(group) == 0 && suite->getChildName(group, 0) == NULL);
    suite->release(group);
    return 0;
}

int checkLeftOutAndRepeatedChildren(const OxAttributeSuite_v1* suite) {
    const char* names[4];
    OxAttributeStruct* children[4];
    OxAttributeStruct* group;
    OxAttributeStruct* found;
    names[0] = "a", children[0] = makeInt(suite, 1);
    names[1] = "b", children[1] = NULL;
    names[2] = "a", children[2] = makeInt(suite, 2);
    names[3] = NULL, children[3] = makeInt(suite, 3); /* taken as an empty name */
    group = suite->createGroup(names, children, 4, 1);
    CHECK(suite->getNumberOfChildren(group) == 2);
    CHECK(strcmp(suite->getChildName(group, 1), "") == 0);
    found = suite->getChildByName(group, "a");
    CHECK(intValue(suite, found) == 2);
    suite->release(found);
    suite->release(children[0]);
    suite->release(children[2]);
    suite->release(children[3]);
    suite->release(group);
    return 0;
}

int checkDottedPaths(const OxAttributeSuite_v1* suite) {
    const char* innerName = "x";
    const char* outerName = "inner";
    OxAttributeStruct* value = makeInt(suite, 5);
    OxAttributeStruct* inner = suite->createGroup(&innerName, &value, 1, 1);
    OxAttributeStruct* outer = suite->createGroup(&outerName, &inner, 1, 1);
    OxAttributeStruct* found = suite->getChildByName(outer, "inner.x");
    CHECK(found == value);
    suite->release(found);
    CHECK(suite->getChildByName(outer, "inner.y") == NULL);
    CHECK(suite->getChildByName(outer, "inner.x.z") == NULL);
    CHECK(suite->getChildByName(outer, "") == NULL);
    CHECK(suite->getChildByName(outer, NULL) == NULL);
    suite->release(value);
    suite->release(inner);
    suite->release(outer);
    return 0;
}

int checkEqualityAndHashes(const OxAttributeSuite_v1* suite) {
    uint64_t first[2], second[2];
    OxAttributeStruct* a = makeInt(suite, 5);
    OxAttributeStruct* same = makeInt(suite, 5);
    OxAttributeStruct* other = makeInt(suite, 6);
    CHECK(suite->isEqual(a, a) == 1 && suite->isEqual(a, same) == 1);
    CHECK(suite->isEqual(a, other) == 0);
    CHECK(suite->isEqual(a, NULL) == 0 && suite->isEqual(NULL, a) == 0);
    suite->getHash(a, first);
    suite->getHash(same, second);
    CHECK(first[0] == second[0] && first[1] == second[1] && first[0] != 0);
    suite->getHash(other, second);
    CHECK(first[0] != second[0] || first[1] != second[1]);
    suite->getHash(a, NULL);
    suite->release(a);
    suite->release(same);
    suite->release(other);
    return 0;
}

int checkReferences(const OxAttributeSuite_v1* suite) {
    const char* name = "child";
    const char* text = "some text";
    OxAttributeStruct* value = suite->createString(&text, 1, 1);
    OxAttributeStruct* group = suite->createGroup(&name, &value, 1, 1);
    OxAttributeStruct* byIndex = suite->getChildByIndex(group, 0);
    OxAttributeStruct* byName = suite->getChildByName(group, "child");
    const char* borrowed = suite->getString(value, 0, 0);
    CHECK(byIndex == value && byName == value);
    suite->retain(value);
    suite->release(value);
    suite->release(value);
    suite->release(group);
    suite->release(byIndex);
    CHECK(strcmp(borrowed, "some text") == 0); /* the last reference still holds it */
    suite->release(byName);
    return 0;
}

int checkWrongTypes(const OxAttributeSuite_v1* suite) {
    const char* text = "x";
    const float number = 1.0f;
    int64_t count = 7;
    OxAttributeStruct* string = suite->createString(&text, 1, 1);
    OxAttributeStruct* floats = suite->createFloat(&number, 1, 1);
    OxAttributeStruct* group = suite->createGroup(NULL, NULL, 0, 1);
    CHECK(suite->getIntSample(floats, 0, &count) == NULL && count == 0);
    count = 7;
    CHECK(suite->getDoubleSample(floats, 0, &count) == NULL && count == 0);
    count = 7;
    CHECK(suite->getFloatSample(string, 0, &count) == NULL && count == 0);
    count = 7;
    CHECK(suite->getFloatSample(group, 0, &count) == NULL && count == 0);
    CHECK(suite->getString(floats, 0, 0) == NULL && suite->getString(group, 0, 0) == NULL);
    CHECK(suite->getTupleSize(group) == 0 && suite->getNumberOfValues(group) == 0);
    CHECK(suite->getNumberOfTimeSamples(group) == 0 && suite->getSampleTime(group, 0) == 0.0f);
    CHECK(suite->getNumberOfChildren(floats) == 0 && suite->getChildName(floats, 0) == NULL);
    CHECK(suite->getChildByIndex(string, 0) == NULL);
    CHECK(suite->getChildByName(string, "x") == NULL);
    CHECK(suite->getGroupInherit(string) == 0);
    suite->release(string);
    suite->release(floats);
    suite->release(group);
    return 0;
}

int checkRefusedValues(const OxAttributeSuite_v1* suite) {
    const int32_t one = 1;
    const float half = 0.5f;
    const double third = 1.0 / 3;
    const char* text = "x";
    OxAttributeStruct* child = makeInt(suite, 1);
    CHECK(suite->createInt(&one, 1, 0) == NULL);
    CHECK(suite->createInt(&one, 1, -1) == NULL);
    CHECK(suite->createInt(&one, -1, 1) == NULL);
    CHECK(suite->createInt(NULL, 1, 1) == NULL);
    CHECK(suite->createFloat(&half, 1, 0) == NULL);
    CHECK(suite->createFloat(NULL, 1, 1) == NULL);
    CHECK(suite->createDouble(&third, -1, 1) == NULL);
    CHECK(suite->createDouble(NULL, 1, 1) == NULL);
    CHECK(suite->createString(&text, 1, 0) == NULL);
    CHECK(suite->createString(&text, -1, 1) == NULL);
    CHECK(suite->createString(NULL, 1, 1) == NULL);
    CHECK(suite->createGroup(&text, &child, -1, 1) == NULL);
    CHECK(suite->createGroup(NULL, &child, 1, 1) == NULL);
    CHECK(suite->createGroup(&text, NULL, 1, 1) == NULL);
    suite->release(child);
    return 0;
}

int checkTooDeepGroups(const OxAttributeSuite_v1* suite) {
    const char* name = "g";
    OxAttributeStruct* group = suite->createGroup(NULL, NULL, 0, 1);
    int depth;
    for (depth = 1; depth < 2048; ++depth) {
        OxAttributeStruct* outer = suite->createGroup(&name, &group, 1, 1);
        CHECK(outer != NULL);
        suite->release(group);
        group = outer;
    }
    CHECK(suite->createGroup(&name, &group, 1, 1) == NULL);
    suite->release(group);
    return 0;
}

int checkXml(const OxAttributeSuite_v1* suite) {
    OxAttributeStruct* value = makeInt(suite, 5);
    OxAttributeStruct* xml = suite->getXml(value);
    CHECK(suite->getType(xml) == kAttributeTypeString);
    CHECK(strstr(suite->getString(xml, 0, 0), "5") != NULL);
    suite->release(xml);
    suite->release(value);
    return 0;
}
