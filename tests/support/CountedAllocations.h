#ifndef TELLAR_TEST_COUNTEDALLOCATIONS_H
#define TELLAR_TEST_COUNTEDALLOCATIONS_H

namespace TellarTest {

/// How often this program, the libraries included, allocated memory by operator new. Counted in
/// programs that CountedAllocations.cpp is part of.
long NumberOfAllocations();

/// How often `body` allocates: its work, counted, where each piece of it does.
template <typename Body>
long AllocationsOf(Body body) {
    const long before = NumberOfAllocations();
    body();
    return NumberOfAllocations() - before;
}

} // namespace TellarTest

#endif
