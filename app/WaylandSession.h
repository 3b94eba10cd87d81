#pragma once

namespace companion {

// Whether the environment is that of a Wayland session, whatever display we use in it.
bool isWaylandSession();

} // namespace companion
