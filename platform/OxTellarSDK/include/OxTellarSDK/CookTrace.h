#ifndef OXTELLARSDK_COOKTRACE_H
#define OXTELLARSDK_COOKTRACE_H

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Shows how one Op makes one location.

namespace OxOpType {

/// A location of an input that an Op asked for.
struct CookRead {
    std::size_t input = 0; ///< index among the inputs of the Op
    std::string location;
    TellarRuntime::LocationData data; ///< invalid when the location cannot be cooked
};

/// How an Op made a location.
struct CookTrace {
    /// Invalid when the cook has failed.
    TellarRuntime::LocationData result;
    /// Why the cook has failed; null when it has not.
    std::exception_ptr error;
    /// In the order in which the Op asked. It may ask for the same location several times.
    std::vector<CookRead> reads;
    /// True when the result is the data of an input, which the Op did not change.
    bool isPassed = false;
};

/// Has the Op cook the location once more and notes what it asks for. The result is equal to that
/// of TellarRuntime::Client::cookLocation, and is not kept. Works with any op type, since it needs
/// nothing but a cook. What the type keeps outside of its cooks, such as a file that it has read,
/// is used again.
///
/// The Op must be committed, with results that were not taken (Client::takeResults). Throws
/// std::bad_alloc only.
///
/// Threads: may be called from any number of threads at once.
OXTELLARSDK_API CookTrace TraceCook(const TellarRuntime::Op& op, const std::string& location);

} // namespace OxOpType

#endif
