#pragma once

#include "meter/Table.h"

#include <QSize>

#include <string>
#include <vector>

namespace companion::bench {

// How thorough to be. Program, floor and full repaint take turns in each round, so that a busy machine
// disturbs all of them alike.
struct Effort {
    int rounds = 3;
    int steps = 80;      // Per round.
    int jumps = 40;      // Per round.
    int motions = 250;   // At 125 Hz, per round.
    int flood = 1000;    // At 1,000 Hz, per round.
    int repetitions = 8; // Of pressing and releasing the key.
};

// Pointer event to changed pixel, and what an event costs the program and the X server.
std::vector<Row> followingThePointer(const std::string &effect, const QSize &screen, const Effort &effort);

// The key to the first pixel, its release to the last one, the start, memory, idling, and a capture.
std::vector<Row> comingAndGoing(const QSize &screen, const Effort &effort);

} // namespace companion::bench
