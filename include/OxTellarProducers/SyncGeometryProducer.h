#ifndef OXTELLARPRODUCERS_SYNCGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_SYNCGEOMETRYPRODUCER_H

#include <memory>
#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Cooks on demand through one client that the whole tree shares. Takes no lock: several threads
/// may navigate at once if the client allows it.
class TELLAR_API SyncGeometryProducer : public ClientGeometryProducer {
public:
    ~SyncGeometryProducer() override;

    SyncGeometryProducer(std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
                         TellarRuntime::LocationData data, std::int64_t index,
                         boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

private:
    template <typename Producer, typename Access>
    friend class ProducerTreeOf;
    explicit SyncGeometryProducer(ProducerParts&& parts);
};

} // namespace TELLAR

#endif
