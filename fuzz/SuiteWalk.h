#ifndef TELLAR_FUZZ_SUITEWALK_H
#define TELLAR_FUZZ_SUITEWALK_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

/// Walks the first locations of a scene as a plug-in does, through the C suites alone, and asks
/// every getter of every location and of every attribute that comes back. Getters that take a name
/// or a path are asked for each of `names`. Returns a digest of all answers, so that two walks can
/// be compared. `root` keeps its count.
std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v3& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict);

/// The same through the older table.
std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v2& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict);

/// A table of the library as a plug-in gets it from the host.
const OxScenegraphIteratorHostSuite_v3& IteratorSuiteVersion3();
const OxScenegraphIteratorHostSuite_v2& IteratorSuiteVersion2();

#endif
