#ifndef OXTELLARPRODUCERS_THREADAWAREGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_THREADAWAREGEOMETRYPRODUCER_H

#include <memory>
#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/ThreadLocalClient.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Cooks on demand through the calling thread's own client: any number of threads may navigate
/// one tree.
class TELLAR_API ThreadAwareGeometryProducer : public ClientGeometryProducer {
public:
    ~ThreadAwareGeometryProducer() override;

    ThreadAwareGeometryProducer(boost::shared_ptr<ThreadLocalClient> treeClient, std::string path,
                                TellarRuntime::LocationData data, std::int64_t index,
                                boost::intrusive_ptr<BaseGeometryProducer> parentProducer);

private:
    template <typename Producer, typename Access>
    friend class ProducerTreeOf;
    explicit ThreadAwareGeometryProducer(ProducerParts&& parts);
};

} // namespace TELLAR

#endif
