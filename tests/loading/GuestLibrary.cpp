// A plug-in of another application, which links the library for work of its own.

#include <cstdlib>
#include <string>
#include <thread>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

GroupAttribute DescribeScene() {
    const GroupAttribute world({{"world", GroupAttribute(true)}}, true);
    const GroupAttribute op({{"opType", StringAttribute("StaticScene")},
                             {"opArgs", GroupAttribute({{"c", world}}, true)}},
                            true);
    return GroupAttribute({{"scene", op}}, true);
}

bool FindsTheWorld(const TELLAR::GeometryProducer::Ptr& root) {
    const TELLAR::GeometryProducer::Ptr child = root ? root->getFirstChild(false) : nullptr;
    return child && child->getFullName() == "/root/world";
}

} // namespace

/// Whether the child of /root is found, by the calling thread and by another one.
extern "C" __attribute__((visibility("default"))) int UseTheLibrary() {
    const auto root = TELLAR::CreateThreadAwareGeometryProducer(DescribeScene(), "/root");
    bool isFoundByThread = false;
    std::thread([&] { isFoundByThread = FindsTheWorld(root); }).join();
    return FindsTheWorld(root) && isFoundByThread;
}
