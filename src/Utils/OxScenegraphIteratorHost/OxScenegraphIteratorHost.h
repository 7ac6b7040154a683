#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOST_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOST_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

namespace TELLAR {

// The suite "ScenegraphIteratorHost", which lives to the end of the process.

const OxScenegraphIteratorHostSuite_v3* GetScenegraphIteratorHostSuite_v3();
const OxScenegraphIteratorHostSuite_v2* GetScenegraphIteratorHostSuite_v2();

} // namespace TELLAR

#endif
