#pragma once

namespace companion {

// What does not work there, for the log and for --doctor alike.
inline constexpr const char *kWaylandLimits = "Wayland session, through XWayland: over windows that are "
                                              "native to Wayland neither mouse moves nor slide "
                                              "keys are seen, and the magnifier's picture lacks them";

// Whether the environment is that of a Wayland session, whatever display we use in it.
bool isWaylandSession();

} // namespace companion
