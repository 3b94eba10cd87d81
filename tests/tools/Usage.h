#pragma once

#include "support/rig/XConnection.h"

#include <sys/types.h>

namespace companion::rig {

// What a program holds at a moment.
struct Usage {
    double unshared = 0; // Megabytes of memory: its own, and shared memory such as pictures.
    double resident = 0; // Megabytes, program text and libraries too.
    int descriptors = 0; // Open files.
    int threads = 0;
    int xResources = 0;    // Windows, pixmaps, regions and the like in the X server, all its connections.
    double xPixmaps = 0;   // Megabytes that its pixmaps take in the X server.
    double serverSize = 0; // Megabytes of the X server itself, which leaks of any of its clients end up in.

    static Usage of(pid_t program, pid_t server, const XConnection &connection);
};

} // namespace companion::rig
