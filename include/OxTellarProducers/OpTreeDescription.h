#ifndef OXTELLARPRODUCERS_OPTREEDESCRIPTION_H
#define OXTELLARPRODUCERS_OPTREEDESCRIPTION_H

#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// Reads an attribute stream that holds an op-tree description (see OpTreeAttributeSource).
/// The flag makes no difference.
///
/// Returns an invalid group when the stream holds none, and, with a message on the standard error
/// stream, when the file is missing or the attribute suite is not set up (OxSetAttributeSuite).
/// Throws what the platform throws for a damaged file.
TELLAR_API OxAttribute::GroupAttribute LoadOpTreeDescriptionFromFile(const std::string& path,
                                                                     bool flag);

} // namespace TELLAR

#endif
