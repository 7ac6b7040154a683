#ifndef TELLAR_FUZZ_CHECK_H
#define TELLAR_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

/// Aborts unless `holds`, which the fuzzer reports as a find.
inline void Check(bool holds, const char* rule) {
    if (holds) return;
    std::fprintf(stderr, "This does not hold: %s\n", rule);
    std::abort();
}

#endif
