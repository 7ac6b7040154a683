#ifndef OXTELLARPRODUCERS_BASEGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_BASEGEOMETRYPRODUCER_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

class PooledPath;

/// What all producers over a runtime share: one cooked location, and navigation on top of how the
/// variant gets at location data. A snapshot of one cook, never refreshed.
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
    /// The first one that exists in the sample nearest to time 0.
    Ptr getFirstChild(bool evict) override;
    Ptr getNextSibling(bool evict) override;

    /// `index` is the place among the parent's potential children; -1 when it is not known.
    BaseGeometryProducer(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                         boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

    // Producers come and go with every step of a walk; their memory is pooled per thread.
    static void* operator new(std::size_t bytes);
    static void operator delete(void* memory, std::size_t bytes) noexcept;

protected:
    /// What navigation makes below a producer of one of this library's own variants. It is known
    /// to be of no derived class, so its own children are made straight by `make`.
    using Make = Ptr (*)(BaseGeometryProducer& parent, PooledPath& path,
                         TellarRuntime::LocationData&& data, std::int64_t index);
    BaseGeometryProducer(Make make, BaseGeometryProducer& parentProducer, PooledPath& path,
                         TellarRuntime::LocationData&& data, std::int64_t index);

    /// The nearest producer from here up that navigation did not make. It owns the client that
    /// those below it only borrow, and is of the same variant.
    BaseGeometryProducer& getClientOwner();

    virtual TellarRuntime::LocationData getLocationData(const std::string& path, bool evict) = 0;
    /// A producer of the same variant, sharing this one's client.
    virtual Ptr createChild(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                            boost::intrusive_ptr<BaseGeometryProducer> parentProducer) = 0;

private:
    Ptr findExistingChild(std::int64_t firstIndex, bool evict);

    /// Leaves out of a long path what the parent's path tells.
    void shareParentsPath() noexcept;
    std::size_t getPathSize() const { return sharedBytes + locationPath->size(); }
    /// The full path; `room` is for one that is made of parts.
    std::string_view getPath(std::string& room) const {
        return sharedBytes == 0 ? std::string_view(*locationPath) : joinPath(room);
    }
    std::string_view joinPath(std::string& room) const;
    const BaseGeometryProducer* getBaseParent() const;

    std::string* const locationPath; // its end or all of it; goes back to the pool in the end
    std::size_t sharedBytes = 0;     // of the path, in front of that
    const TellarRuntime::LocationData locationData;
    const std::int64_t childIndex;
    const Make makeChild; // null for a producer that navigation did not make
};

} // namespace TELLAR

#endif
