#pragma once

#include "meter/Table.h"

#include <QSize>

#include <string>
#include <vector>

namespace companion::bench {

// How thorough to be. Program and floor take turns in each round, each with a compositor of its own, so that
// a busy machine disturbs both alike; of what the rounds say the median is told.
struct Effort {
    int rounds = 5;
    int watched = 100;   // Motions at 125 Hz whose pictures are awaited, per round.
    int motions = 300;   // At 125 Hz, per round.
    int flood = 1000;    // At 1,000 Hz, per round.
    int repetitions = 8; // Of pressing and releasing the key, in all.
};

// Motion to picture, what a motion costs the program and the compositor, and memory while it is shown.
std::vector<Row> followingThePointer(const std::string &effect, const QSize &screen, const Effort &effort);

// The key to the first picture.
std::vector<Row> appearing(const QSize &screen, const Effort &effort);

// Memory with the lens, which the floor has not.
std::vector<Row> lensMemory(const QSize &screen);

} // namespace companion::bench
