/* A delegate for the renderer "lantern" that takes over locations of the type "sphere field":

       field.count     int       so many spheres stand in its place, in a row along +X
       field.spacing   number    the distance between them; 1
       field.points    number[]  or round points at these places, three numbers each
       field.radius    number    of each; 0.5
       field.shader    string    the surface shader of what stands in its place, with the
       field.roughness number    roughness; 0.5. Without it the location's material remains.

   A field with neither spheres nor points stays as it is. */

#include <stddef.h>
#include <stdio.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

enum { kMostSpheres = 1000 };

static const OxPluginHost* currentHost;
static int instanceOfAll;

static const OxAttributeSuite_v1* attributeSuite(void) {
    return (const OxAttributeSuite_v1*)currentHost->getSuite("AttributeHost", 1);
}

/* The location's attribute, to be released. */
static OxAttributeStruct* attributeOf(OxSgIteratorStruct* location, const char* name) {
    const OxScenegraphIteratorHostSuite_v3* iterators =
        (const OxScenegraphIteratorHostSuite_v3*)currentHost->getSuite(
            OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    return iterators->getAttribute(location, name);
}

static double numberOf(OxSgIteratorStruct* location, const char* name, double otherwise) {
    const OxAttributeSuite_v1* attributes = attributeSuite();
    OxAttributeStruct* const attribute = attributeOf(location, name);
    int64_t count = 0;
    double number = otherwise;
    const int32_t* const ints = attributes->getIntSample(attribute, 0, &count);
    if (ints && count > 0) number = ints[0];
    const double* const doubles = attributes->getDoubleSample(attribute, 0, &count);
    if (doubles && count > 0) number = doubles[0];
    attributes->release(attribute);
    return number;
}

/* A group of one child, whose reference is taken over. */
static OxAttributeStruct* groupOf(const char* name, OxAttributeStruct* child) {
    const OxAttributeSuite_v1* attributes = attributeSuite();
    OxAttributeStruct* const group = attributes->createGroup(&name, &child, 1, 0);
    attributes->release(child);
    return group;
}

/* A group of several, whose references are taken over. */
static OxAttributeStruct* groupOfAll(const char* const* names, OxAttributeStruct** children,
                                     int count) {
    const OxAttributeSuite_v1* attributes = attributeSuite();
    OxAttributeStruct* const group = attributes->createGroup(names, children, count, 0);
    int i;
    for (i = 0; i < count; ++i)
        attributes->release(children[i]);
    return group;
}

static OxAttributeStruct* text(const char* value) {
    return attributeSuite()->createString(&value, 1, 1);
}

static OxAttributeStruct* number(double value) {
    return attributeSuite()->createDouble(&value, 1, 1);
}

static OxAttributeStruct* sphereAt(double x, double radius) {
    const char* const names[] = {"type", "geometry", "xform"};
    const double place[3] = {x, 0, 0};
    OxAttributeStruct* parts[3];
    parts[0] = text("sphere");
    parts[1] = groupOf("radius", number(radius));
    parts[2] = groupOf("translate", attributeSuite()->createDouble(place, 3, 3));
    return groupOf("a", groupOfAll(names, parts, 3));
}

/* The attributes of the row: a material, or none. */
static OxAttributeStruct* rowAttributes(OxSgIteratorStruct* location) {
    const char* const names[] = {"surfaceShader", "surfaceParams"};
    OxAttributeStruct* parts[2];
    parts[0] = attributeOf(location, "field.shader");
    if (!parts[0]) return attributeSuite()->createGroup(NULL, NULL, 0, 0);
    parts[1] = groupOf("roughness", number(numberOf(location, "field.roughness", 0.5)));
    return groupOf("material", groupOfAll(names, parts, 2));
}

static OxAttributeStruct* rowOfSpheres(OxSgIteratorStruct* location, int count, double spacing,
                                       double radius) {
    const char* const partNames[] = {"a", "c"};
    OxAttributeStruct* parts[2];
    char texts[kMostSpheres][16];
    const char* names[kMostSpheres];
    OxAttributeStruct* spheres[kMostSpheres];
    int i;
    for (i = 0; i < count; ++i) {
        snprintf(texts[i], sizeof texts[i], "sphere%d", i);
        names[i] = texts[i];
        spheres[i] = sphereAt(i * spacing, radius);
    }
    parts[0] = rowAttributes(location);
    parts[1] = groupOfAll(names, spheres, count);
    return groupOfAll(partNames, parts, 2);
}

/* Takes the points' reference over. */
static OxAttributeStruct* pointCloud(OxAttributeStruct* points, double radius) {
    const char* const geometryNames[] = {"point", "constantWidth"};
    const char* const names[] = {"type", "geometry"};
    OxAttributeStruct* geometry[2];
    OxAttributeStruct* parts[2];
    geometry[0] = groupOf("P", points);
    geometry[1] = number(2 * radius);
    parts[0] = text("pointcloud");
    parts[1] = groupOfAll(geometryNames, geometry, 2);
    return groupOf("a", groupOfAll(names, parts, 2));
}

static OxLocationDelegateInstance create(void) {
    return &instanceOfAll;
}

static void destroy(OxLocationDelegateInstance instance) {
    (void)instance;
}

static OxAttributeStruct* getReplacement(OxLocationDelegateInstance instance,
                                         OxSgIteratorStruct* location) {
    const double radius = numberOf(location, "field.radius", 0.5);
    const double count = numberOf(location, "field.count", 0);
    OxAttributeStruct* const points = attributeOf(location, "field.points");
    (void)instance;
    if (points) return pointCloud(points, radius);
    if (!(count >= 1 && count <= kMostSpheres)) return NULL;
    return rowOfSpheres(location, (int)count, numberOf(location, "field.spacing", 1), radius);
}

static OxAttributeStruct* getSupportedRenderer(OxLocationDelegateInstance instance) {
    (void)instance;
    return text("lantern");
}

static OxAttributeStruct* getSupportedLocationTypes(OxLocationDelegateInstance instance) {
    (void)instance;
    return text("sphere field");
}

static const OxScenegraphLocationDelegatePluginSuite_v1 suite = {
    create, destroy, getReplacement, getSupportedRenderer, getSupportedLocationTypes};

static const void* getSuite(void) {
    return &suite;
}

static int setHost(struct OxPluginHost* host) {
    currentHost = host;
    return 0;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "sphere field",
                                         OX_LOCATION_DELEGATE_API,
                                         OX_LOCATION_DELEGATE_API_VERSION,
                                         1,
                                         0,
                                         getSuite,
                                         setHost,
                                         NULL};

OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void);
OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index);

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
