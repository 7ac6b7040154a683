#ifndef OXTELLARPRODUCERS_DELEGATETABLES_H
#define OXTELLARPRODUCERS_DELEGATETABLES_H

#include <functional>
#include <string>

#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// The answer of a delegate about a location: a handle with one reference for the caller, or null.
using Replacement =
    std::function<OxAttributeStruct*(OxLocationDelegateInstance, OxSgIteratorStruct*)>;

/// A table of a delegate whose replacements come from a function. The functions for instances are
/// those of `next`, and without it they do nothing. There is one table for each name; a later call
/// with the same name changes it. Null when there are too many tables.
OxScenegraphLocationDelegatePluginSuite_v1*
MakeDelegateTable(const std::string& name, const OxScenegraphLocationDelegatePluginSuite_v1* next,
                  Replacement replacement);

} // namespace TELLAR

#endif
