#ifndef TELLAR_TESTS_SHARINGRUNTIME_H
#define TELLAR_TESTS_SHARINGRUNTIME_H

#include <cstdint>

// The functions of SharingRuntime.cpp for the program that is counted.

/// Sums over all threads of a phase.
struct TellarSharing {
    std::uint64_t locations;
    std::uint64_t locks; ///< locks taken, or tried
    /// For each location of each thread: the cache lines that the thread wrote there, and that
    /// another thread wrote during the phase.
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
