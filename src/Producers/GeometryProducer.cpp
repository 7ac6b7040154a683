#include <OxTellarProducers/GeometryProducer.h>

#include <charconv>
#include <iterator>
#include <string_view>
#include <typeinfo>

#include <boost/container/small_vector.hpp>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarSDK/AttributeChain.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "AncestorAttributes.h"
#include "LocationNames.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

/// The producers that this thread has made less those that it has dropped, for the debugger. The
/// number of live producers is the sum over all threads, modulo 2^32; threads that share one
/// counter would wait for each other. Compilers remove it from an anonymous namespace, for nothing
/// reads it.
thread_local std::uint32_t liveProducers = 0;

namespace {

constexpr int kProvided = 0;
constexpr int kAboveRoot = 2;

} // namespace

GeometryProducer::GeometryProducer(Ptr parentProducer) : parent(std::move(parentProducer)) {
    ++liveProducers;
}

GeometryProducer::~GeometryProducer() {
    --liveProducers;
    // Ancestors without another holder go one by one: scenes may be deeper than the stack.
    Ptr ancestor = std::move(parent);
    while (ancestor && ancestor->use_count() == 1) {
        Ptr next = std::move(ancestor->parent);
        ancestor = std::move(next);
    }
}

std::shared_ptr<TellarRuntime::Client> GeometryProducer::getClient() {
    return nullptr;
}

GeometryProducer::Ptr GeometryProducer::getParent() {
    return parent;
}

GeometryProducer::Ptr GeometryProducer::getRootProducer() {
    GeometryProducer* root = this;
    while (root->parent)
        root = root->parent.get();
    return root;
}

namespace {

/// Whether getChildByName gets all of each name of the path, which ends at a NUL byte.
bool IsWithoutNul(const std::string& path) {
    return path.find('\0') == std::string::npos;
}

} // namespace

GeometryProducer::Ptr GeometryProducer::getProducerByPath(const std::string& path, bool evict) {
    if (isOwn && IsWithoutNul(path)) return findOwnByPath(path, evict);
    PathParts parts(path);
    std::string part(parts.next());
    Ptr current = this;
    if (part == "." || part == "..")
        current = getChildByName(part.c_str(), parts.isAtEnd() && evict);
    else if (part != getName())
        return nullptr;
    while (current && !parts.isAtEnd()) {
        part = parts.next();
        current = current->getChildByName(part.c_str(), parts.isAtEnd() && evict);
    }
    return current;
}

/// Of a producer of the library's own kind, as all are that it leads to. No copies of names.
GeometryProducer::Ptr GeometryProducer::findOwnByPath(std::string_view path, bool evict) {
    PathParts parts(path);
    const std::string_view first = parts.next();
    Ptr current = this;
    if (first == "." || first == "..")
        current = static_cast<BaseGeometryProducer*>(this)->findChildNamed(first, parts.isAtEnd() &&
                                                                                      evict);
    else if (first != OwnLocation::of(*this).getName())
        return nullptr;
    while (current && !parts.isAtEnd()) {
        const std::string_view part = parts.next();
        auto* const here = static_cast<BaseGeometryProducer*>(current.get());
        current = here->findChildNamed(part, parts.isAtEnd() && evict);
    }
    return current;
}

GeometryProducer::Ptr GeometryProducer::getChildByIndex(std::int64_t index, bool evict) {
    // Addresses are compared because that is quicker than the names of types. One that differs for
    // an equal type would lead the slower way below.
    const std::type_info* const type = &typeid(*this);
    if (type == &typeid(ThreadAwareGeometryProducer) || type == &typeid(SyncGeometryProducer) ||
        type == &typeid(AsyncGeometryProducer))
        return static_cast<BaseGeometryProducer*>(this)->findChildAt(index, evict);
    if (type == &typeid(StaticGeometryProducer))
        return static_cast<StaticGeometryProducer*>(this)->findChildAt(index);
    const StringAttribute names = getPotentialChildren();
    if (index < 0 || index >= names.getNumberOfValues()) return nullptr;
    const std::string name(names.getValueView(index));
    if (name == "." || name == "..") return nullptr; // the location itself and its parent
    return getChildByName(name.c_str(), evict);
}

std::string GeometryProducer::getType() {
    if (const OwnLocation own = OwnLocation::of(*this))
        return std::string(own.getAttrs().getTextView("type"));
    return std::string(StringAttribute(getAttribute("type")).getValueView());
}

Attribute GeometryProducer::getGlobalAttribute(const std::string& name) {
    if (const OwnLocation own = OwnLocation::of(*this))
        return OxTellarCookInterfaceUtils::getGlobalAttrOfChain(AncestorAttributes(own).chain(),
                                                                name);
    GeometryProducerGlobalAttributeProvider provider(this);
    return OxTellarCookInterfaceUtils::getGlobalAttrGeneric(provider, name, getFullName(), nullptr);
}

GroupAttribute GeometryProducer::getGlobalXFormGroup() {
    if (const OwnLocation own = OwnLocation::of(*this))
        return OxXFormUtil::MakeTransformGroup(own.getAttrs(), own.getInheritedTransforms());
    boost::container::small_vector<Attribute, 16> xforms; // this location's first
    for (GeometryProducer* producer = this; producer; producer = producer->parent.get())
        xforms.push_back(producer->getAttribute("xform"));
    OxAttribute::GroupBuilder builder(OxAttribute::BuilderModeStrict);
    builder.setGroupInherit(false);
    for (std::size_t i = 0; i < xforms.size(); ++i) {
        const Attribute& xform = xforms[xforms.size() - 1 - i];
        char name[24] = "i";
        if (!xform.isValid()) continue;
        const char* end = std::to_chars(name + 1, std::end(name), i).ptr;
        builder.set({name, static_cast<std::size_t>(end - name)}, xform, true);
    }
    return builder.build(OxAttribute::BuildAndFlush);
}

GeometryProducerGlobalAttributeProvider::GeometryProducerGlobalAttributeProvider(
    GeometryProducer::Ptr originProducer)
    : origin(std::move(originProducer)), cursor(origin.get()) {}

GeometryProducerGlobalAttributeProvider::~GeometryProducerGlobalAttributeProvider() = default;

int GeometryProducerGlobalAttributeProvider::provideAttribute(const std::string& name, int depth,
                                                              Attribute& result) {
    if (depth < cursorDepth) {
        cursor = origin.get();
        cursorDepth = 0;
    }
    for (; cursor && cursorDepth < depth; ++cursorDepth)
        cursor = cursor->getRawParentPtr();
    if (!cursor) return kAboveRoot;
    result = cursor->getAttribute(name.c_str());
    return kProvided;
}

} // namespace TELLAR
