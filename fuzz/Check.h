#ifndef TELLAR_FUZZ_CHECK_H
#define TELLAR_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

/// Ends the process, which is a find, unless `holds`.
inline void Check(bool holds, const char* rule) {
    if (holds) return;
    std::fprintf(stderr, "This does not hold: %s\n", rule);
    std::abort();
}

#endif
