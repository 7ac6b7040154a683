#ifndef OXTELLARPRODUCERS_CREATEGEOMETRYPRODUCER_H
#define OXTELLARPRODUCERS_CREATEGEOMETRYPRODUCER_H

#include <memory>
#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

// Each makes the producer of one location, and producers of the same kind for all its ancestors.
// Null when the path is not absolute, or when the location or one of its ancestors does not
// exist. Exceptions of the platform pass through.

/// Cooks on demand through one client. Several threads may navigate the tree at once only if the
/// client allows it.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateSyncGeometryProducer(const std::shared_ptr<TellarRuntime::Client>& client,
                           const std::string& locationPath);

/// Never cooks: sees what the client's runtime has cooked, and nothing else. May be navigated
/// while another thread cooks.
///
/// Trap: a location that nobody has cooked yet looks like one that does not exist. A producer of
/// CreateSyncGeometryProducer over the same client tells the two apart.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateAsyncGeometryProducer(const std::shared_ptr<TellarRuntime::Client>& client,
                            const std::string& locationPath);

/// Cooks on demand through a client of the calling thread's own: any number of threads may
/// navigate one tree. From a serialised op file.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateThreadAwareGeometryProducer(const std::string& opTreeFile, const std::string& locationPath);

/// The same from an op-tree description (see OpTreeAttributeSource).
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateThreadAwareGeometryProducer(const OxAttribute::GroupAttribute& opTreeDescription,
                                  const std::string& locationPath);

/// The same from any source.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateThreadAwareGeometryProducer(const OpTreeSource& source, const std::string& locationPath);

/// A fixed scene without a runtime: `group` is the location's description {"a": its attributes,
/// "c": its children by name, each again such a group}. The parent is taken as given. Null for
/// an invalid group.
///
/// Trap: getNextSibling makes the sibling's path from the path of the producer that was asked for
/// it, so the sibling b of /root/a says that it is /root/a/b. The parent's getChildByName gives
/// every child its true path.
///
/// For one thread at a time, unless every producer's place is known.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
CreateStaticGeometryProducer(const std::string& locationPath,
                             const OxAttribute::GroupAttribute& group,
                             boost::intrusive_ptr<GeometryProducer> parent);

} // namespace TELLAR

#endif
