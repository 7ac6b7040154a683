#ifndef OXTELLARPRODUCERS_PLUGINTABLES_H
#define OXTELLARPRODUCERS_PLUGINTABLES_H

#include <OxTellarSDK/SuiteFilter.h>

#include "Validator.h"

namespace TELLAR {

/// A table that stands in for that of a renderer, a location delegate or an op type in C, and tells
/// the validator of renders, of what their listeners are told, and of the handles that pass. Other
/// tables, and those of the 17th plug-in of a kind and later ones, are returned as they are.
const void* ValidatedPluginSuite(const OxPluginManager::SuiteOffer& offer, Validator& validator);

} // namespace TELLAR

#endif
