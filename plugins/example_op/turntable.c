/* An op type in C99, made to be copied: "Turntable" lets a location turn about its y axis.
   docs/writing-an-op-type.md explains it.

       cc -std=c99 -shared -fPIC -I <prefix>/include turntable.c -o turntable.so
       OX_PLUGIN_PATH=$PWD tellar ops Turntable */

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

/* ---- Arguments ------------------------------------------------------------------------------- */

/* The arguments of an Op after they were checked. */
typedef struct Turntable {
    char* location;
    double degrees;
} Turntable;

static int32_t FailAt(const OxAttributeSuite_v4* values, const char* argument, const char* text,
                      OxErrorStruct** error) {
    OxErrorFacts facts = {0};
    facts.code = kOxErrorValue;
    facts.text = text;
    facts.attribute = argument;
    *error = values->createError(&facts);
    return 0;
}

static void ReleaseTurntable(void* state) {
    Turntable* turntable = state;
    free(turntable->location);
    free(turntable);
}

/* The text of an argument as memory of our own; null when there is none. */
static char* ReadText(const OxAttributeSuite_v4* values, OxAttributeStruct* args, const char* name,
                      OxErrorStruct** error) {
    OxAttributeStruct* value = args ? values->getChildByName(args, name, error) : NULL;
    int64_t length = 0;
    const char* text = value ? values->getString(value, 0.0f, 0, &length, error) : NULL;
    char* copy = text ? malloc((size_t)length + 1) : NULL;
    if (copy) memcpy(copy, text, (size_t)length + 1);
    values->release(value);
    return copy;
}

static int32_t ReadNumber(const OxAttributeSuite_v4* values, OxAttributeStruct* args,
                          const char* name, double* number, OxErrorStruct** error) {
    OxAttributeStruct* value = args ? values->getChildByName(args, name, error) : NULL;
    const int isNumber =
        !value || values->readDoubles(value, 0.0f, kOxNearest, number, 1, NULL) == 1;
    values->release(value);
    return isNumber || FailAt(values, name, "argument \"degrees\": not a number", error);
}

static int32_t Prepare(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                       void** state, OxErrorStruct** error) {
    const OxAttributeSuite_v4* values = cooks->values;
    Turntable* turntable = calloc(1, sizeof(Turntable));
    (void)inputs;
    if (!turntable) return FailAt(values, "", "there is not enough memory", error);
    *state = turntable; /* the host releases it, also after an error */
    turntable->location = ReadText(values, args, "location", error);
    if (*error) return 0;
    if (!turntable->location)
        return FailAt(values, "location", "argument \"location\": is missing", error);
    turntable->degrees = 360.0;
    return ReadNumber(values, args, "degrees", &turntable->degrees, error);
}

/* ---- Cooking --------------------------------------------------------------------------------- */

/* A turn about the y axis: degrees, axis x, y, z at the beginning and at the end of the shutter. */
static OxAttributeStruct* MakeTurn(const OxAttributeSuite_v4* values, const Turntable* turntable,
                                   OxErrorStruct** error) {
    static const float kTimes[] = {0.0f, 1.0f};
    const double turns[] = {0.0, 0.0, 1.0, 0.0, turntable->degrees, 0.0, 1.0, 0.0};
    const OxSamples samples = {kAttributeTypeDouble, 4, 4, 2, kTimes, turns};
    return values->createSamples(&samples, error);
}

/* The location with the turn behind its own transform. */
static int32_t CookTurned(OxCookStruct* cook, const OxCookSuite* cooks, const Turntable* turntable,
                          const OxLocationDataStruct* data, OxErrorStruct** error) {
    const OxAttributeSuite_v4* values = cooks->values;
    OxAttributeStruct* attributes = cooks->getLocationAttributes(data);
    OxAttributeStruct* turn = MakeTurn(values, turntable, error);
    OxAttributeStruct* turned =
        turn ? values->withChild(attributes, "xform.rotateTurntable", turn, error) : NULL;
    cooks->pass(cook, data);
    const int32_t isDone = turned && cooks->setAttributes(cook, turned, error);
    values->release(turned);
    values->release(turn);
    values->release(attributes);
    return isDone;
}

static int32_t Cook(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                    OxErrorStruct** error) {
    const Turntable* turntable = state;
    const char* path = cooks->getPath(cook);
    OxLocationDataStruct* data = cooks->getInput(cook, 0, path, error);
    int32_t isDone = data != NULL;
    if (data && cooks->doesLocationExist(data) && strcmp(path, turntable->location) == 0)
        isDone = CookTurned(cook, cooks, turntable, data, error);
    else if (data)
        cooks->pass(cook, data);
    cooks->releaseLocationData(data);
    return isDone;
}

/* ---- Entry points ---------------------------------------------------------------------------- */

static const OxOpDescription* GetDescription(void) {
    static const OxOpArgument arguments[] = {
        {"location", "string", "The location to turn. Required."},
        {"degrees", "double", "The turn from time 0 to time 1. Default: 360."},
    };
    static const OxOpDescription description = {sizeof(OxOpDescription),
                                                1,
                                                "Turntable",
                                                "Lets a location turn about its y axis.",
                                                arguments,
                                                2,
                                                "one"};
    return &description;
}

static const void* GetSuite(void) {
    static const OxOpTypePluginSuite_v2 suite = {sizeof(OxOpTypePluginSuite_v2),
                                                 OX_OP_TYPE_API_VERSION,
                                                 GetDescription,
                                                 Prepare,
                                                 ReleaseTurntable,
                                                 Cook};
    return &suite;
}

static const OxPluginRecord_v1 kRecord = {
    .recordVersion = OX_PLUGIN_RECORD_VERSION,
    .name = "Turntable",
    .apiName = OX_OP_TYPE_API,
    .apiVersion = OX_OP_TYPE_API_VERSION,
    .majorVersion = 1, /* of this plug-in */
    .getSuite = GetSuite,
};

OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void) {
    return 1;
}

OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : NULL;
}
