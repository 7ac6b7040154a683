#ifndef OXTELLARPRODUCERS_ASYNCGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_ASYNCGEOMETRYPRODUCER_H

#include <memory>
#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Reads only what the client's runtime has cooked; anything else does not exist. Never cooks or
/// evicts, so it may be used while other threads cook.
class TELLAR_API AsyncGeometryProducer : public BaseGeometryProducer {
public:
    ~AsyncGeometryProducer() override;
    std::shared_ptr<TellarRuntime::Client> getClient() override;

    AsyncGeometryProducer(std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
                          TellarRuntime::LocationData data, std::int64_t index,
                          boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

protected:
    TellarRuntime::LocationData getLocationData(const std::string& path, bool evict) override;
    Ptr createChild(std::string path, TellarRuntime::LocationData data, std::int64_t index,
                    boost::intrusive_ptr<BaseGeometryProducer> parentProducer) override;

private:
    template <typename Producer, typename Access>
    friend class ProducerTreeOf;
    explicit AsyncGeometryProducer(ProducerParts&& parts);
};

} // namespace TELLAR

#endif
