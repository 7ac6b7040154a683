#ifndef TELLAR_TEST_SUITETOUR_H
#define TELLAR_TEST_SUITETOUR_H

#include <cstdint>

namespace TellarTest {

/// Numbers made of everything that a tour read: the same for the same scene whenever nothing fails.
struct TourResult {
    bool isFileOpen = false; // whether the op file had a root
    std::uint64_t ofFile = 0;
    std::uint64_t ofRest = 0;

    bool operator==(const TourResult& other) const {
        return ofFile == other.ofFile && ofRest == other.ofRest;
    }
};

/// Does what renderer plug-ins do with a scene: finds the C suites in the host, opens the scene
/// from an op file and from a description, walks it, and calls every entry of every suite. All
/// that it got is released when it returns. Allocates nothing itself, and takes null wherever an
/// entry may give it.
///
/// Delegates are asked for and not counted: they are guests, and one that had no memory may have
/// named no location types, which is kept.
TourResult TourSuites(const char* opFile, const char* descriptionFile);

/// The same through version 4 of the suites, with an edit of the scene.
TourResult TourSuites4(const char* opFile, const char* descriptionFile);

} // namespace TellarTest

#endif
