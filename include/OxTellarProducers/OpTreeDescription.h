#ifndef OXTELLARPRODUCERS_OPTREEDESCRIPTION_H
#define OXTELLARPRODUCERS_OPTREEDESCRIPTION_H

#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// Reads an attribute stream that holds an op-tree description (see OpTreeAttributeSource).
/// The flag makes no difference.
///
/// An invalid group, with a message on the standard error stream, when the file is missing or
/// the attribute suite is not set up (OxSetAttributeSuite); without one when the stream holds no
/// group. Throws what the platform throws for a file that is damaged.
TELLAR_API OxAttribute::GroupAttribute LoadOpTreeDescriptionFromFile(const std::string& path,
                                                                     bool flag);

} // namespace TELLAR

#endif
