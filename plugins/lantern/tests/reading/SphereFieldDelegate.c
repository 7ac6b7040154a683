/* A delegate for the renderer "lantern" that replaces locations of the type "sphere field"
   (defaults in parentheses):

       field.count      int       the number of spheres, in a row along +X (0)
       field.spacing    number    the distance between them (1)
       field.points     number[]  or points at these positions, three numbers each
       field.radius     number    the radius of each sphere or point (0.5)
       field.shader     string    the surface shader; without it the location's material remains
       field.roughness  number    the shader's roughness (0.5)

   A field with neither spheres nor points is not replaced. */

#include <stddef.h>
#include <stdio.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

enum { kMostSpheres = 1000 };

static const OxPluginHost* currentHost;
static int instanceOfAll;

static const OxAttributeSuite_v1* AttributeSuite(void) {
    return (const OxAttributeSuite_v1*)currentHost->getSuite("AttributeHost", 1);
}

/* An attribute of the location, which the caller releases. */
static OxAttributeStruct* AttributeOf(OxSgIteratorStruct* location, const char* name) {
    const OxScenegraphIteratorHostSuite_v3* iterators =
        (const OxScenegraphIteratorHostSuite_v3*)currentHost->getSuite(
            OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    return iterators->getAttribute(location, name);
}

static double NumberOf(OxSgIteratorStruct* location, const char* name, double otherwise) {
    const OxAttributeSuite_v1* attributes = AttributeSuite();
    OxAttributeStruct* const attribute = AttributeOf(location, name);
    int64_t count = 0;
    double number = otherwise;
    const int32_t* const ints = attributes->getIntSample(attribute, 0, &count);
    if (ints && count > 0) number = ints[0];
    const double* const doubles = attributes->getDoubleSample(attribute, 0, &count);
    if (doubles && count > 0) number = doubles[0];
    attributes->release(attribute);
    return number;
}

/* A group of one child. Takes over the child's reference. */
static OxAttributeStruct* GroupOf(const char* name, OxAttributeStruct* child) {
    const OxAttributeSuite_v1* attributes = AttributeSuite();
    OxAttributeStruct* const group = attributes->createGroup(&name, &child, 1, 0);
    attributes->release(child);
    return group;
}

/* A group of several children. Takes over their references. */
static OxAttributeStruct* GroupOfAll(const char* const* names, OxAttributeStruct** children,
                                     int count) {
    const OxAttributeSuite_v1* attributes = AttributeSuite();
    OxAttributeStruct* const group = attributes->createGroup(names, children, count, 0);
    int i;
    for (i = 0; i < count; ++i)
        attributes->release(children[i]);
    return group;
}

static OxAttributeStruct* Text(const char* value) {
    return AttributeSuite()->createString(&value, 1, 1);
}

static OxAttributeStruct* Number(double value) {
    return AttributeSuite()->createDouble(&value, 1, 1);
}

static OxAttributeStruct* SphereAt(double x, double radius) {
    const char* const names[] = {"type", "geometry", "xform"};
    const double place[3] = {x, 0, 0};
    OxAttributeStruct* parts[3];
    parts[0] = Text("sphere");
    parts[1] = GroupOf("radius", Number(radius));
    parts[2] = GroupOf("translate", AttributeSuite()->createDouble(place, 3, 3));
    return GroupOf("a", GroupOfAll(names, parts, 3));
}

/* The attributes of the row: a material or nothing. */
static OxAttributeStruct* RowAttributes(OxSgIteratorStruct* location) {
    const char* const names[] = {"surfaceShader", "surfaceParams"};
    OxAttributeStruct* parts[2];
    parts[0] = AttributeOf(location, "field.shader");
    if (!parts[0]) return AttributeSuite()->createGroup(NULL, NULL, 0, 0);
    parts[1] = GroupOf("roughness", Number(NumberOf(location, "field.roughness", 0.5)));
    return GroupOf("material", GroupOfAll(names, parts, 2));
}

static OxAttributeStruct* RowOfSpheres(OxSgIteratorStruct* location, int count, double spacing,
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
        spheres[i] = SphereAt(i * spacing, radius);
    }
    parts[0] = RowAttributes(location);
    parts[1] = GroupOfAll(names, spheres, count);
    return GroupOfAll(partNames, parts, 2);
}

/* Takes over the reference of the points. */
static OxAttributeStruct* PointCloud(OxAttributeStruct* points, double radius) {
    const char* const geometryNames[] = {"point", "constantWidth"};
    const char* const names[] = {"type", "geometry"};
    OxAttributeStruct* geometry[2];
    OxAttributeStruct* parts[2];
    geometry[0] = GroupOf("P", points);
    geometry[1] = Number(2 * radius);
    parts[0] = Text("pointcloud");
    parts[1] = GroupOfAll(geometryNames, geometry, 2);
    return GroupOf("a", GroupOfAll(names, parts, 2));
}

static OxLocationDelegateInstance Create(void) {
    return &instanceOfAll;
}

static void Destroy(OxLocationDelegateInstance instance) {
    (void)instance;
}

static OxAttributeStruct* GetReplacement(OxLocationDelegateInstance instance,
                                         OxSgIteratorStruct* location) {
    const double radius = NumberOf(location, "field.radius", 0.5);
    const double count = NumberOf(location, "field.count", 0);
    OxAttributeStruct* const points = AttributeOf(location, "field.points");
    (void)instance;
    if (points) return PointCloud(points, radius);
    if (!(count >= 1 && count <= kMostSpheres)) return NULL;
    return RowOfSpheres(location, (int)count, NumberOf(location, "field.spacing", 1), radius);
}

static OxAttributeStruct* GetSupportedRenderer(OxLocationDelegateInstance instance) {
    (void)instance;
    return Text("lantern");
}

static OxAttributeStruct* GetSupportedLocationTypes(OxLocationDelegateInstance instance) {
    (void)instance;
    return Text("sphere field");
}

static const OxScenegraphLocationDelegatePluginSuite_v1 suite = {
    Create, Destroy, GetReplacement, GetSupportedRenderer, GetSupportedLocationTypes};

static const void* GetSuite(void) {
    return &suite;
}

static int SetHost(struct OxPluginHost* host) {
    currentHost = host;
    return 0;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "sphere field",
                                         OX_LOCATION_DELEGATE_API,
                                         OX_LOCATION_DELEGATE_API_VERSION,
                                         1,
                                         0,
                                         GetSuite,
                                         SetHost,
                                         NULL};

OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void);
OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index);

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
