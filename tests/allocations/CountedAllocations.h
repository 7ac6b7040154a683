#ifndef TELLAR_TEST_COUNTEDALLOCATIONS_H
#define TELLAR_TEST_COUNTEDALLOCATIONS_H

/// The heap of a test program: every allocation of the process, made by whatever library, is
/// counted, and one of them can be made to fail. Works with the GNU C library and without
/// sanitizers, which bring a heap of their own. For programs of one thread.
namespace TellarTest {

/// Lets the allocation with this number fail, counted from 1 on and from now on; 0 lets none fail.
///
/// Two kinds of allocation never fail, because the GNU C library ends the process when they do:
/// those of its program loader (thread-local storage of loaded libraries) and the note of a
/// thread-local object's destructor.
void FailAllocation(long number);

/// How many allocations that may fail were asked for since then, the failed one included.
long NumberOfAllocations();

/// Pieces of memory that are allocated now.
long LiveAllocations();

} // namespace TellarTest

#endif
