#ifndef TELLAR_TESTS_SHARINGRUNTIME_H
#define TELLAR_TESTS_SHARINGRUNTIME_H

#include <cstdint>

// The functions of SharingRuntime.cpp for the program that is counted.

/// Sums over all threads of a phase.
struct TellarSharing {
    std::uint64_t locations;
    std::uint64_t locks; ///< locks taken, or tried
    /// How often at most a cache line was written by another thread than the one before, each line
    /// counted once for a location.
    std::uint64_t sharedWrites;
};

extern "C" {

/// Begins a phase: forgets what was recorded. One thread calls this and TellarSharingEnd while no
/// other one records.
void TellarSharingBegin();
/// The calling thread goes on to its next location.
void TellarSharingLocation();
/// Ends the phase, and prints the `sites` instructions that wrote most often to shared lines.
TellarSharing TellarSharingEnd(int sites);
}

#endif
