#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process where it stands, which the fuzzer takes as a find.
#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition);                     \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
