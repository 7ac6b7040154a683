#ifndef OXTELLARSDK_ATTRIBUTETYPES_H
#define OXTELLARSDK_ATTRIBUTETYPES_H

/* The types that the C and C++ sides of the attribute interface share. C99. */

#include <stdint.h>

/* A counted, immutable attribute value. Opaque. */
typedef struct OxAttributeStruct OxAttributeStruct;

typedef enum AttributeType {
    kAttributeTypeInvalid = -1,
    kAttributeTypeNull = 0,
    kAttributeTypeInt = 1,
    kAttributeTypeFloat = 2,
    kAttributeTypeDouble = 3,
    kAttributeTypeString = 4,
    kAttributeTypeGroup = 5
} AttributeType;

/* Reads up to `bytes` bytes into `buffer`. Returns how many, 0 at the end of the
   stream, -1 after an error. */
typedef int64_t (*StreamRead)(void* stream, void* buffer, int64_t bytes);

/* Writes `bytes` bytes from `buffer`. Returns how many were taken. */
typedef int64_t (*StreamWrite)(void* stream, const void* buffer, int64_t bytes);

#endif
