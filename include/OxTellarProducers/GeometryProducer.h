#ifndef OXTELLARPRODUCERS_GEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_GEOMETRYPRODUCER_H

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GlobalAttribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// A counted handle onto one location of a scene graph: a snapshot of its attributes, and the way
/// to its parent, children, siblings and any other location. Made by the functions of
/// CreateGeometryProducer.h and, from there on, by each other: every navigation makes new
/// producers. A producer keeps its ancestors alive.
///
/// Navigation to what does not exist gives null. `evict` asks a runtime-backed producer to have
/// the location computed anew. Exceptions of the platform pass through.
///
/// Threads: counts are atomic, so producers may be shared and dropped anywhere; which threads may
/// navigate is said where each variant is made.
class TELLAR_API GeometryProducer
    : public boost::intrusive_ref_counter<GeometryProducer, boost::thread_safe_counter> {
public:
    using Ptr = boost::intrusive_ptr<GeometryProducer>;

    virtual ~GeometryProducer();
    /// Inserts the names of the location's attributes; nothing for a null set.
    virtual void getAttributeNames(std::set<std::string>* names) = 0;
    virtual OxAttribute::StringAttribute getPotentialChildren() = 0;
    /// By dotted path; a null or empty name gives the whole group. Invalid when missing.
    virtual OxAttribute::Attribute getAttribute(const char* name) = 0;
    /// The text after the last "/" of the full name; empty when there is none.
    virtual std::string getName() = 0;
    /// "/root/world/geo".
    virtual std::string getFullName() = 0;
    /// Hexadecimal text of the content's hash.
    virtual std::string getHash() = 0;
    /// ".." is the parent, "." this producer. Throws std::runtime_error "getChildByName does not
    /// support deep child lookups" for a name with "/".
    virtual Ptr getChildByName(const char* name, bool evict = false) = 0;
    virtual Ptr getFirstChild(bool evict = false) = 0;
    /// The next sibling that exists; null behind the last one.
    ///
    /// Trap: a producer made by one of the functions of CreateGeometryProducer.h does not know its
    /// place and starts with the parent's first child, which may be the same location again. To
    /// visit all siblings, start with the parent's getFirstChild.
    virtual Ptr getNextSibling(bool evict = false) = 0;
    /// The client behind the producer; empty when there is none.
    virtual std::shared_ptr<TellarRuntime::Client> getClient();

    /// Null for a root.
    Ptr getParent();
    /// The parent, its count untouched: valid for as long as this producer.
    GeometryProducer* getRawParentPtr() const { return parent.get(); }
    /// The topmost ancestor; this producer when it has no parent.
    Ptr getRootProducer();

    /// Walks from this producer along a path whose first part is this producer's name, "." or
    /// "..": "/root/world" asked of the root, "../sibling" of any. `evict` holds for the last
    /// part.
    Ptr getProducerByPath(const std::string& path, bool evict = false);

    /// The child that the potential children name at `index`, in their sample nearest to time 0.
    /// Null when it does not exist or the index is out of range. An exception of the platform
    /// concerns this child alone: its siblings are found at the other indices.
    ///
    /// A class derived from the library's own ones, or from this one, is asked for its
    /// getPotentialChildren and its getChildByName.
    Ptr getChildByIndex(std::int64_t index, bool evict = false);

    /// The "type" attribute; empty when it is missing or no string.
    std::string getType();

    /// The attribute as inherited from the ancestors, by the platform's rules.
    OxAttribute::Attribute getGlobalAttribute(const std::string& name);

    /// The "xform" attributes from the root down to this location, named i0, i1, ... by their
    /// depth; locations without one leave a gap. For OxXFormUtil.
    OxAttribute::GroupAttribute getGlobalXFormGroup();

    explicit GeometryProducer(Ptr parentProducer);
    GeometryProducer(const GeometryProducer&) = delete;
    GeometryProducer& operator=(const GeometryProducer&) = delete;

private:
    friend class BaseGeometryProducer;
    friend class OwnLocation;
    Ptr findOwnByPath(std::string_view path, bool evict);

    bool isOwn = false; // made by the library's own navigation or factories, of no derived class
    Ptr parent;
};

/// Drops a reference, in place of the function of the counter's base: the only reference needs no
/// atomic subtraction, because no other thread can add one. Nearly every step of a walk drops one.
inline void intrusive_ptr_release(const GeometryProducer* producer) noexcept {
    if (producer->use_count() == 1) // also sees what the threads did that dropped the others
        delete producer;
    else
        intrusive_ptr_release(
            static_cast<
                const boost::intrusive_ref_counter<GeometryProducer, boost::thread_safe_counter>*>(
                producer));
}

/// Gives a producer's attributes, and those of its ancestors, to the platform's lookup of global
/// attributes. For one thread.
class TELLAR_API GeometryProducerGlobalAttributeProvider
    : public OxTellarServices::BaseGlobalAttributeProviderLegacy {
public:
    explicit GeometryProducerGlobalAttributeProvider(GeometryProducer::Ptr origin);
    ~GeometryProducerGlobalAttributeProvider() override;

    /// 0 with the attribute of the ancestor `depth` levels up, or 2 when that is above the root.
    int provideAttribute(const std::string& name, int depth,
                         OxAttribute::Attribute& result) override;

private:
    GeometryProducer::Ptr origin;
    GeometryProducer* cursor; // the ancestor that the last request reached; null above the root
    int cursorDepth = 0;
};

} // namespace TELLAR

#endif
