#ifndef TELLAR_CHECK_DRAFTS_H
#define TELLAR_CHECK_DRAFTS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "CheckRules.h"

namespace TELLAR {

/// A problem of a value, whatever locations hold it.
struct Draft {
    Rule rule;
    std::string attribute; ///< dotted name; may be empty
    std::string problem;   ///< a clause without its end: "its corner 7 is the point 9, of 8"
    std::string file;      ///< the path of a file at fault; usually empty
};

/// Collects the problems of one value: the first thousand, because a list of a million names may
/// have as many problems.
class Drafts {
public:
    void add(Rule rule, std::string attribute, std::string problem, std::string file = {}) {
        if (list.size() < kMost)
            list.push_back({rule, std::move(attribute), std::move(problem), std::move(file)});
    }

    const std::vector<Draft>& get() const { return list; }

private:
    static constexpr std::size_t kMost = 1000;

    std::vector<Draft> list;
};

} // namespace TELLAR

#endif
