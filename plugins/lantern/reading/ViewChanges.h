#ifndef LANTERN_READING_VIEWCHANGES_H
#define LANTERN_READING_VIEWCHANGES_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include "reading/Location.h"

namespace lantern {

/// Whether the changes, which lead to this root, concern cameras and render settings only. False
/// when that is not known.
bool ChangeViewAlone(const Suites& suites, const Location& root, const OxChangesStruct* changes);

} // namespace lantern

#endif
