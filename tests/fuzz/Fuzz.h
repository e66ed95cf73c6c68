#pragma once

#include <cstddef>
#include <cstdint>

// A fuzz target: one function that takes any bytes and checks what must hold for
// them, and a driver that feeds it. The plain driver (FuzzDriver.cpp) replays the
// kept cases, then random ones for a while; built with clang and LUMO_LIBFUZZER,
// libFuzzer drives the same function instead.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// Reports a broken property of the current input and ends the process (libFuzzer
// then keeps the input itself).
#ifdef LUMO_LIBFUZZER
#include <cstdio>
#include <cstdlib>
[[noreturn]] inline void fuzzFailed(const char *what, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: broken: %s\n", file, line, what);
    std::abort();
}
#else
[[noreturn]] void fuzzFailed(const char *what, const char *file, int line);
#endif

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition))                                                                          \
            fuzzFailed(#condition, __FILE__, __LINE__);                                            \
    } while (false)
