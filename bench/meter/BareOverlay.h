#pragma once

#include <string>

namespace companion::bench {

// What to compare the program with: a client of the X server and nothing else, with no toolkit, settings,
// receiver or views, that shows an effect of 150 pixels at the pointer. As the environment's DISPLAY.
//
// least: one patch from shared memory where the disc is now, and fills for what is left of its old place; the
// spotlight's and the dot's patch is drawn once. full: the whole screen is drawn anew for each motion.
//
// Writes "ready" to standard error and runs until it is ended. Effects: spotlight, laser, lens.
int runBareOverlay(const std::string &effect, bool full);

} // namespace companion::bench
