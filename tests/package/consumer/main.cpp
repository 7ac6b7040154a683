// Writes a small scene to the op file named, opens it and prints one location.
#include <iostream>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/GroupBuilder.h>

extern "C" int SetUpAttributes(void);

int main(int argc, char** argv) {
    if (argc != 2 || !SetUpAttributes()) return 1;
    OxAttribute::GroupBuilder builder;
    builder.set("scene.opType", OxAttribute::StringAttribute("StaticScene"));
    builder.set("scene.opArgs.c.world.c.geo.a.type", OxAttribute::StringAttribute("polymesh"));
    OxAttribute::WriteOpFile(argv[1], builder.build());

    const auto root = TELLAR::CreateThreadAwareGeometryProducer(argv[1], "/root");
    if (!root) return 2;
    const auto geo = root->getProducerByPath("/root/world/geo");
    if (!geo) return 3;
    std::cout << geo->getFullName() << ' ' << geo->getType() << '\n';
}
