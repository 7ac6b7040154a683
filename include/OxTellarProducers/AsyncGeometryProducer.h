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
/// evicts, so it may be used while other threads cook. A location that was dropped because memory
/// is short (docs/memory.md) does not exist either, until somebody cooks it again; a producer that
/// was made before keeps what it has.
class TELLAR_API AsyncGeometryProducer : public ClientGeometryProducer {
public:
    ~AsyncGeometryProducer() override;

    AsyncGeometryProducer(std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
                          TellarRuntime::LocationData data, std::int64_t index,
                          boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

private:
    template <typename Producer, typename Access>
    friend class ProducerTreeOf;
    explicit AsyncGeometryProducer(ProducerParts&& parts);
};

} // namespace TELLAR

#endif
