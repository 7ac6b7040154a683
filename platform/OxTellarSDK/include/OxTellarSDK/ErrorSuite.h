#ifndef OXTELLARSDK_ERRORSUITE_H
#define OXTELLARSDK_ERRORSUITE_H

/* Errors as C sees them. C99. */

/* The kind of an error. The values never change; later versions may add kinds. */
typedef enum OxErrorCode {
    /* The caller passed what the function does not take. */
    kOxErrorBadCall = 1,
    /* A file is missing, cannot be read, or does not hold what it should. */
    kOxErrorFile = 2,
    /* A location could not be cooked. */
    kOxErrorCook = 3,
    /* An attribute or argument is missing or has a wrong type or value. */
    kOxErrorValue = 4,
    /* There is not enough memory. */
    kOxErrorMemory = 5,
    /* The work was cancelled. */
    kOxErrorCancelled = 6,
    /* Anything else. */
    kOxErrorUnknown = 7
} OxErrorCode;

/* An error that a function returned. Opaque. */
typedef struct OxErrorStruct OxErrorStruct;

/* The parts of an error. All texts are UTF-8 and never null; those that do not apply are empty.
   They live as long as the error that they came from. */
typedef struct OxErrorFacts {
    OxErrorCode code;
    /* The whole message, which names the other parts where they matter. */
    const char* text;
    /* The name and the type of the op that failed. */
    const char* op;
    const char* opType;
    /* The path of the location that was cooked. */
    const char* location;
    /* The attribute or argument at fault. */
    const char* attribute;
    /* The file at fault. */
    const char* file;
} OxErrorFacts;

#endif
