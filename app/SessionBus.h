#pragma once

namespace companion {

// Keeps the toolkit, which must not have started yet, from two things: where there is no session bus it would
// have one started, which takes time and outlives us; and on one that takes connections but never answers,
// such as a stopped process, it would wait without end. Neither kind of bus is used then. Waits up to 3 s.
void disableUselessSessionBus();

} // namespace companion
