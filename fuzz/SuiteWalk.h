#ifndef TELLAR_FUZZ_SUITEWALK_H
#define TELLAR_FUZZ_SUITEWALK_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

/// Walks the first locations of a scene through the C suites and calls every getter on every
/// location and on every attribute. Getters with a name or a path are called with each of `names`.
/// Returns a hash of all answers, to compare walks with each other. The reference count of `root`
/// does not change.
std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v3& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict);

/// The same through version 2 of the suite.
std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v2& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict);

/// A suite of the library, as a plug-in gets it from the host.
const OxScenegraphIteratorHostSuite_v3& IteratorSuiteVersion3();
const OxScenegraphIteratorHostSuite_v2& IteratorSuiteVersion2();

#endif
