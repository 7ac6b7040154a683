#ifndef OXTELLARSDK_ATTRIBUTESUITE4_H
#define OXTELLARSDK_ATTRIBUTESUITE4_H

/* Attribute values and errors for plug-ins written in C. C99.

       const OxAttributeSuite_v4* values = host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
       OxSamples points;
       OxErrorStruct* error;
       if (values->getSamples(attribute, &points, &error))
           Draw((const float*)points.values, points.valueCount / points.tupleSize);
       else
           Report(error);
       values->releaseError(error);

   The table. `size` is the number of bytes that the host's table has, and `version` is 4. A later
   host may append slots and raise `size`: before using a slot that was added after the first
   release of version 4, compare its offset with `size`.

   Ownership. Every handle that a slot returns carries one reference owned by the caller, who
   releases it once. A borrowed pointer lives as long as a reference to the handle that it came
   from. Arguments are borrowed for the call.

   Errors. A slot with the last parameter `OxErrorStruct** error` assigns null to *error when it
   succeeds, and an error with one reference owned by the caller when it fails. `error` may be null.
   Nothing is logged. A null handle is the error kOxErrorBadCall; slots without the parameter accept
   null and return null, 0 or nothing for it. retain and release functions accept null.

   Threads. Any thread may call any slot, and several threads may use one handle at once. */

#include <stdint.h>

#include <OxTellarSDK/AttributeTypes.h>
#include <OxTellarSDK/ErrorSuite.h>
#include <OxTellarSDK/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_ATTRIBUTE_HOST_SUITE "AttributeHost"

/* How values between two samples are read. Before the first sample and after the last one, values
   are those of that sample. */
typedef enum OxInterpolation {
    kOxNearest = 0, /* of the sample nearest to the time */
    kOxLinear = 1   /* integers are interpolated as doubles and rounded to the nearest */
} OxInterpolation;

/* All samples of an int, float or double attribute. The pointers are borrowed from it. */
typedef struct OxSamples {
    int32_t type; /* kAttributeTypeInt, kAttributeTypeFloat or kAttributeTypeDouble */
    int64_t tupleSize;
    int64_t valueCount; /* of one sample: a multiple of tupleSize */
    int64_t sampleCount;
    const float* times; /* ascending, one for each sample */
    const void* values; /* ints, floats or doubles: valueCount of each sample, one sample after the
                           other */
} OxSamples;

/* Suite "AttributeHost", version 4. The order of the slots is the contract: no slot is ever changed
   or removed. */
typedef struct OxAttributeSuite_v4 {
    uint32_t size;
    uint32_t version;

    /* ---- Errors ---- */

    /* 0 1 [any thread] Adds and drops one reference; the last one frees the error. */
    void (*retainError)(OxErrorStruct* error);
    void (*releaseError)(OxErrorStruct* error);
    /* 2 [any thread] Writes what the error is about, with borrowed texts. */
    void (*getErrorFacts)(const OxErrorStruct* error, OxErrorFacts* facts);
    /* 3 [any thread] A new error, for plug-ins that fail themselves. Null texts become empty ones.
         Never null: without memory it is one of kOxErrorMemory. */
    OxErrorStruct* (*createError)(const OxErrorFacts* facts);

    /* ---- Counts, type and content ---- */

    /* 4 5 [any thread] Adds and drops one reference; the last one frees the value. */
    void (*retain)(OxAttributeStruct* attribute);
    void (*release)(OxAttributeStruct* attribute);
    /* 6 [any thread] An AttributeType; kAttributeTypeInvalid for null. */
    int32_t (*getType)(const OxAttributeStruct* attribute);
    /* 7 [any thread] Writes the 128-bit hash of the content; zeros for null. */
    void (*getHash)(const OxAttributeStruct* attribute, uint64_t words[2]);
    /* 8 [any thread] 1 when both have equal content, also for two nulls, else 0. */
    int32_t (*isEqual)(const OxAttributeStruct* a, const OxAttributeStruct* b);

    /* ---- Values: attributes of the types int, float, double and string ---- */

    /* 9 [any thread] The number of values that belong together, such as 3 for a point. 0 for null
         and groups, as in the next two slots. */
    int64_t (*getTupleSize)(const OxAttributeStruct* data);
    /* 10 [any thread] The number of values in one sample. */
    int64_t (*getNumberOfValues)(const OxAttributeStruct* data);
    /* 11 [any thread] */
    int64_t (*getNumberOfTimeSamples)(const OxAttributeStruct* data);
    /* 12 [any thread] In frames relative to the frame; ascends with the index. 0 when out of
          range. */
    float (*getSampleTime)(const OxAttributeStruct* data, int64_t index);
    /* 13 14 15 [any thread] The borrowed values of the sample nearest to `time`, for an attribute
          of just this type. Writes their number to *count, unless `count` is null. An attribute of
          another type, and a value in a damaged file, is the error kOxErrorValue. */
    const int32_t* (*getIntSample)(const OxAttributeStruct* data, float time, int64_t* count,
                                   OxErrorStruct** error);
    const float* (*getFloatSample)(const OxAttributeStruct* data, float time, int64_t* count,
                                   OxErrorStruct** error);
    const double* (*getDoubleSample)(const OxAttributeStruct* data, float time, int64_t* count,
                                     OxErrorStruct** error);
    /* 16 [any thread] Describes all samples of an int, float or double attribute. Returns 1, or 0
          with an error. */
    int32_t (*getSamples)(const OxAttributeStruct* data, OxSamples* samples, OxErrorStruct** error);
    /* 17 18 19 [any thread] Copies the values at any time, converted from ints, floats or doubles.
          `interpolation` is an OxInterpolation. Writes at most `capacity` values; `values` may be
       null for a capacity of 0. Returns the number of values in a sample, or -1 with an error.
       readInts rounds to the nearest integer, and a value outside of its range is the error
       kOxErrorValue. */
    int64_t (*readInts)(const OxAttributeStruct* data, float time, int32_t interpolation,
                        int32_t* values, int64_t capacity, OxErrorStruct** error);
    int64_t (*readFloats)(const OxAttributeStruct* data, float time, int32_t interpolation,
                          float* values, int64_t capacity, OxErrorStruct** error);
    int64_t (*readDoubles)(const OxAttributeStruct* data, float time, int32_t interpolation,
                           double* values, int64_t capacity, OxErrorStruct** error);
    /* 20 [any thread] Value `index` of the sample of a string attribute that is nearest to `time`:
          borrowed, ends with a zero byte. Writes its length in bytes to *length, unless `length` is
          null; the text may hold zero bytes itself. An index out of range is the error
          kOxErrorBadCall. */
    const char* (*getString)(const OxAttributeStruct* data, float time, int64_t index,
                             int64_t* length, OxErrorStruct** error);

    /* ---- Groups ---- */

    /* 21 [any thread] 0 for null and attributes that are not groups, as in the next three slots. */
    int64_t (*getNumberOfChildren)(const OxAttributeStruct* group);
    /* 22 [any thread] Borrowed; null when out of range. */
    const char* (*getChildName)(const OxAttributeStruct* group, int64_t index);
    /* 23 [any thread] Null when out of range, which is no error. */
    OxAttributeStruct* (*getChildByIndex)(const OxAttributeStruct* group, int64_t index,
                                          OxErrorStruct** error);
    /* 24 [any thread] The attribute at a dotted path. Null when there is none, which is no
          error. */
    OxAttributeStruct* (*getChildByName)(const OxAttributeStruct* group, const char* path,
                                         OxErrorStruct** error);
    /* 25 [any thread] 1 when locations below inherit the group child by child, else 0. */
    int32_t (*getGroupInherit)(const OxAttributeStruct* group);

    /* ---- New attributes; with one time sample, but for createSamples ---- */

    /* 26 to 29 [any thread] A tuple size below 1, a negative count and a count that is not a
          multiple of the tuple size are the error kOxErrorBadCall. */
    OxAttributeStruct* (*createInt)(const int32_t* values, int64_t count, int64_t tupleSize,
                                    OxErrorStruct** error);
    OxAttributeStruct* (*createFloat)(const float* values, int64_t count, int64_t tupleSize,
                                      OxErrorStruct** error);
    OxAttributeStruct* (*createDouble)(const double* values, int64_t count, int64_t tupleSize,
                                       OxErrorStruct** error);
    OxAttributeStruct* (*createString)(const char* const* values, int64_t count, int64_t tupleSize,
                                       OxErrorStruct** error);
    /* 30 [any thread] */
    OxAttributeStruct* (*createNull)(OxErrorStruct** error);
    /* 31 [any thread] A group of `count` children; null children are left out. */
    OxAttributeStruct* (*createGroup)(const char* const* names, OxAttributeStruct* const* children,
                                      int64_t count, int32_t inherit, OxErrorStruct** error);
    /* 32 [any thread] The XML text as a string attribute. */
    OxAttributeStruct* (*getXml)(const OxAttributeStruct* attribute, OxErrorStruct** error);
    /* 33 [any thread] An int, float or double attribute with all samples that are described. Their
          times must ascend. */
    OxAttributeStruct* (*createSamples)(const OxSamples* samples, OxErrorStruct** error);
    /* 34 [any thread] A copy of a group, or of an empty one for null, in which the attribute at a
          dotted path is `child`; null removes what is there. Groups on the way are made. */
    OxAttributeStruct* (*withChild)(const OxAttributeStruct* group, const char* path,
                                    OxAttributeStruct* child, OxErrorStruct** error);

    /* ---- Errors, continued ---- */

    /* 35 [any thread] Where the text stands that describes the op which failed, such as
          "scene.json:14:5", or the file if that is no text. The text of the error begins with it.
          Borrowed; empty when it is not known, and for null. */
    const char* (*getErrorPlace)(const OxErrorStruct* error);
} OxAttributeSuite_v4;

/* The suite for this library's attributes. It lives to the end of the process. */
OXTELLARSDK_API const OxAttributeSuite_v4* OxGetBuiltInAttributeSuite4(void);

#ifdef __cplusplus
}
#endif

#endif
