#ifndef TELLAR_TOOL_COOKEDSCENE_H
#define TELLAR_TOOL_COOKEDSCENE_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "OpCase.h"

namespace TellarTool {

/// The result of cooking a location, or its error.
struct Answer {
    bool exists = false;
    OxAttribute::Hash hash; ///< of existence, attributes and potential children
    std::string error;      ///< empty if the location was cooked
    std::string failedOp;   ///< the op that the error names
    std::string reason;     ///< the error without the place in front of it

    bool isError() const { return !error.empty(); }
    /// "it exists, hash 0123abcd", "it does not exist" or the error.
    std::string text() const;

    friend bool operator==(const Answer& a, const Answer& b) {
        return a.exists == b.exists && a.hash == b.hash && a.error == b.error;
    }
    friend bool operator!=(const Answer& a, const Answer& b) { return !(a == b); }
};

using Answers = std::map<std::string, Answer>; // by path

Answer Cook(TellarRuntime::Client& client, const std::string& path);
/// In the order of the paths.
Answers CookAll(TellarRuntime::Client& client, const std::vector<std::string>& paths);

/// The potential children of a location by their paths; none if it cannot be cooked or does not
/// exist. Of more than `most` the first and last ones.
std::vector<std::string> ChildrenOf(TellarRuntime::Client& client, const std::string& path,
                                    std::size_t most);

/// The paths from /root down, level by level, `most` of them. Potential children that do not exist
/// are among them.
std::vector<std::string> PathsOf(TellarRuntime::Client& client, std::size_t most);

/// The first location with another answer than in `expected`, and both answers; an empty text if
/// there is none.
std::string FirstDifference(const Answers& expected, const Answers& found);

} // namespace TellarTool

#endif
