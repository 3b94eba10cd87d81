#pragma once

#include <sys/types.h>

#include <cstdint>

namespace companion::bench {

// What a process has used so far, all its threads together, as the kernel counts it. Differences count.
struct ProcessCost {
    double cpu = 0;           // Milliseconds on a processor.
    std::int64_t wakeUps = 0; // Times that a thread gave the processor up of itself and got it again.
    static ProcessCost of(pid_t pid);
    ProcessCost operator-(const ProcessCost &before) const {
        return {cpu - before.cpu, wakeUps - before.wakeUps};
    }
};

// Resident memory of a process, megabytes (of 1,048,576 bytes).
struct ProcessMemory {
    double anonymous = 0;
    double shared = 0; // Shared memory, such as pictures that the X server reads.
    double all = 0;    // Program text and libraries too, which other programs share.
    static ProcessMemory of(pid_t pid);
};

} // namespace companion::bench
