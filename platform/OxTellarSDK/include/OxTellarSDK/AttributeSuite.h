#ifndef OXTELLARSDK_ATTRIBUTESUITE_H
#define OXTELLARSDK_ATTRIBUTESUITE_H

/* The C side of the attribute interface. C99. */

#include <stdint.h>

#include <OxTellarSDK/AttributeTypes.h>
#include <OxTellarSDK/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Suite "AttributeHost", version 1. The order of the slots is the contract: this struct is never
   changed, and a new entry makes OxAttributeSuite_v2. A returned handle carries one reference owned
   by the caller. An entry yields null or 0 for a null handle, for a value of the wrong type, and
   for a value in a damaged file. Borrowed pointers live as long as a reference to the handle that
   they came from. Any thread may call any entry; no entry throws. */
typedef struct OxAttributeSuite_v1 {
    /* 0 Adds one reference. */
    void (*retain)(OxAttributeStruct* attribute);
    /* 1 Drops one reference; the last one frees the value. */
    void (*release)(OxAttributeStruct* attribute);
    /* 2 An AttributeType; kAttributeTypeInvalid for null. */
    int32_t (*getType)(const OxAttributeStruct* attribute);
    /* 3 Writes the 128-bit content hash. */
    void (*getHash)(const OxAttributeStruct* attribute, uint64_t words[2]);
    /* 4 1 when both have equal content, else 0. */
    int32_t (*isEqual)(const OxAttributeStruct* a, const OxAttributeStruct* b);

    /* 5 The number of values that belong together, such as 3 for a point. */
    int64_t (*getTupleSize)(const OxAttributeStruct* data);
    /* 6 The number of values in one time sample. */
    int64_t (*getNumberOfValues)(const OxAttributeStruct* data);
    /* 7 */
    int64_t (*getNumberOfTimeSamples)(const OxAttributeStruct* data);
    /* 8 Times ascend with the index; 0 when out of range. */
    float (*getSampleTime)(const OxAttributeStruct* data, int64_t index);
    /* 9 10 11 Borrowed values of the sample nearest to `time`. Writes their number to *count unless
       `count` is null. */
    const int32_t* (*getIntSample)(const OxAttributeStruct* data, float time, int64_t* count);
    const float* (*getFloatSample)(const OxAttributeStruct* data, float time, int64_t* count);
    const double* (*getDoubleSample)(const OxAttributeStruct* data, float time, int64_t* count);
    /* 12 Borrowed C string, value `index` of the sample nearest to `time`; null when out of
       range. */
    const char* (*getString)(const OxAttributeStruct* data, float time, int64_t index);

    /* 13 */
    int64_t (*getNumberOfChildren)(const OxAttributeStruct* group);
    /* 14 Borrowed; null when out of range. */
    const char* (*getChildName)(const OxAttributeStruct* group, int64_t index);
    /* 15 */
    OxAttributeStruct* (*getChildByIndex)(const OxAttributeStruct* group, int64_t index);
    /* 16 By dotted path. */
    OxAttributeStruct* (*getChildByName)(const OxAttributeStruct* group, const char* path);
    /* 17 1 or 0. */
    int32_t (*getGroupInherit)(const OxAttributeStruct* group);

    /* 18 to 21 New values with one time sample; null for a tuple size below 1 or a count below 0.
     */
    OxAttributeStruct* (*createInt)(const int32_t* values, int64_t count, int64_t tupleSize);
    OxAttributeStruct* (*createFloat)(const float* values, int64_t count, int64_t tupleSize);
    OxAttributeStruct* (*createDouble)(const double* values, int64_t count, int64_t tupleSize);
    OxAttributeStruct* (*createString)(const char* const* values, int64_t count, int64_t tupleSize);
    /* 22 */
    OxAttributeStruct* (*createNull)(void);
    /* 23 A group of `count` children, borrowed; null children are left out. */
    OxAttributeStruct* (*createGroup)(const char* const* names, OxAttributeStruct* const* children,
                                      int64_t count, int32_t inherit);
    /* 24 The XML text as a string attribute. */
    OxAttributeStruct* (*getXml)(const OxAttributeStruct* attribute);
} OxAttributeSuite_v1;

/* The suite that the host has set up in this process; null before. */
OXTELLARSDK_API const OxAttributeSuite_v1* OxGetAttributeSuite(void);
/* Sets up the suite for the process; null removes it. Hosts call it once when they start, usually
   with OxGetBuiltInAttributeSuite(). */
OXTELLARSDK_API void OxSetAttributeSuite(const OxAttributeSuite_v1* suite);
/* The suite for this library's attributes. */
OXTELLARSDK_API const OxAttributeSuite_v1* OxGetBuiltInAttributeSuite(void);

#ifdef __cplusplus
}
#endif

#endif
