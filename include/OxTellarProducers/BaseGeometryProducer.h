#ifndef OXTELLARPRODUCERS_BASEGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_BASEGEOMETRYPRODUCER_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace OxXFormUtil {
struct InheritedTransforms;
}

namespace TELLAR {

class OwnLocation;
class ProducerTree;
struct ProducerParts;

/// The base of all producers over a runtime: a snapshot of one cooked location, and navigation with
/// the two functions that a variant defines.
class TELLAR_API BaseGeometryProducer : public GeometryProducer {
public:
    ~BaseGeometryProducer() override;
    void getAttributeNames(std::set<std::string>* names) override;
    OxAttribute::StringAttribute getPotentialChildren() override;
    OxAttribute::Attribute getAttribute(const char* name) override;
    std::string getName() override;
    std::string getFullName() override;
    std::string getHash() override;
    /// Looks through all time samples of the potential children.
    Ptr getChildByName(const char* name, bool evict) override;
    /// The first potential child that exists, of those in the sample nearest to time 0.
    Ptr getFirstChild(bool evict) override;
    Ptr getNextSibling(bool evict) override;

    /// `index` is the place among the parent's potential children; -1 when it is not known.
    BaseGeometryProducer(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                         boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

    // Producers come and go with every step of a walk; their memory is pooled per thread.
    static void* operator new(std::size_t bytes);
    static void operator delete(void* memory, std::size_t bytes) noexcept;

protected:
    /// The data of any location of the tree; of one that does not exist, invalid data will do.
    virtual TellarRuntime::LocationData getLocationData(const std::string& path, bool evict) = 0;
    /// A producer of the same variant, sharing this one's client.
    virtual Ptr createChild(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                            boost::intrusive_ptr<BaseGeometryProducer> parentProducer) = 0;

    // For the library's own variants.
    explicit BaseGeometryProducer(ProducerParts&& parts);
    const ProducerTree& getTree() const { return *tree; }

private:
    friend class GeometryProducer; // for getChildByIndex and getProducerByPath
    friend class OwnLocation;
    Ptr findChildAt(std::int64_t index, bool evict);
    Ptr findChildNamed(std::string_view wanted, bool evict);
    Ptr findChildAmong(const OxAttribute::StringAttribute& names, std::string_view wanted,
                       bool evict);
    Ptr findExistingChild(std::int64_t firstIndex, bool evict);
    Ptr getChildAt(std::int64_t index, bool evict);
    Ptr getChildAt(std::int64_t index, std::string path, bool evict);
    std::string_view getPathEnd() const;
    void shortenPathEnd() noexcept;
    const BaseGeometryProducer* getBaseParent() const;

    // The path is `pathEnd`, or else the parent's path, "/" and `pathEnd`. When `pathEnd` is null,
    // the parent's potential child `childIndex` takes its place.
    std::unique_ptr<const std::string> pathEnd;
    bool isWholePath;        // `pathEnd` is the path
    const bool isFromCaller; // it may be of a derived class, or have the data of another path
    const TellarRuntime::LocationData locationData;
    const std::int64_t childIndex;
    const boost::intrusive_ptr<const ProducerTree> ownedTree; // null when an ancestor owns it
    const ProducerTree* const tree; // null for a variant that is not of this library
    // The transforms that the children inherit, owned by this producer; null until a child is asked
    // for its own.
    std::atomic<const OxXFormUtil::InheritedTransforms*> transforms{nullptr};
};

/// The base of the library's own variants, whose producers share a client with their whole tree.
class TELLAR_API ClientGeometryProducer : public BaseGeometryProducer {
public:
    std::shared_ptr<TellarRuntime::Client> getClient() override;

protected:
    TellarRuntime::LocationData getLocationData(const std::string& path, bool evict) override;
    Ptr createChild(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                    boost::intrusive_ptr<BaseGeometryProducer> parentProducer) override;

    explicit ClientGeometryProducer(ProducerParts&& parts);
};

} // namespace TELLAR

#endif
