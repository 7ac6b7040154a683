#ifndef OXTELLARPRODUCERS_STATICGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_STATICGEOMETRYPRODUCER_H

#include <cstdint>
#include <set>
#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// A location of a fixed scene description: {"a": attributes, "c": child locations by name, in
/// the platform's delimiter encoding}. Navigation that lists children speaks of decoded names;
/// getChildByName takes the name as it is stored.
///
/// Threads: the first getNextSibling of a producer that does not know its place looks for it and
/// remembers it; everything else only reads.
class TELLAR_API StaticGeometryProducer : public GeometryProducer {
public:
    ~StaticGeometryProducer() override;
    void getAttributeNames(std::set<std::string>* names) override;
    OxAttribute::StringAttribute getPotentialChildren() override;
    OxAttribute::Attribute getAttribute(const char* name) override;
    std::string getName() override;
    std::string getFullName() override;
    std::string getHash() override;
    Ptr getChildByName(const char* name, bool evict) override;
    Ptr getFirstChild(bool evict) override;
    /// Null unless the parent is a StaticGeometryProducer too. Trap: the sibling's path is this
    /// producer's path, "/" and the sibling's name; the parent's getChildByName gives the true one.
    /// The paths of a walk over n siblings therefore grow to n names, and take n * n / 2 to copy.
    Ptr getNextSibling(bool evict) override;

    StaticGeometryProducer(std::string path, OxAttribute::GroupAttribute description,
                           std::int64_t index, Ptr parentProducer);

private:
    friend class GeometryProducer; // for getChildByIndex
    OxAttribute::GroupAttribute getChildren() const;
    Ptr findChildAt(std::int64_t index);

    const std::string locationPath;
    const OxAttribute::GroupAttribute group;
    std::int64_t childIndex; // -1 until known
};

} // namespace TELLAR

#endif
