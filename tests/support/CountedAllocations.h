#ifndef TELLAR_TEST_COUNTEDALLOCATIONS_H
#define TELLAR_TEST_COUNTEDALLOCATIONS_H

namespace TellarTest {

/// The number of calls to operator new in this program and its libraries. Programs that ask for it
/// compile CountedAllocations.cpp.
long NumberOfAllocations();

/// The number of calls to operator new while `body` runs.
template <typename Body>
long AllocationsOf(Body body) {
    const long before = NumberOfAllocations();
    body();
    return NumberOfAllocations() - before;
}

} // namespace TellarTest

#endif
