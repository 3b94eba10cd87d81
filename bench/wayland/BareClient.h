#pragma once

#include <string>

namespace companion::bench {

// What to compare the program with: a client of the Wayland compositor and nothing else, with no toolkit,
// settings, receiver or views, that shows an effect of 150 pixels at the pointer. Two pictures as large as
// the screen, of which only what changes is drawn and told; one commit for each lot of motions, at least 4 ms
// apart, as in the program.
//
// On the compositor of the environment's WAYLAND_DISPLAY, at scale 1. Writes "ready" to standard error, shows
// the effect for each '+' on standard input, ends it and frees its pictures for each '-', and runs until its
// input ends. Effects: spotlight, laser.
int runBareClient(const std::string &effect);

} // namespace companion::bench
