#pragma once

#include "platform/dbus/PortalMouse.h"

namespace companion {

// This user's, in the settings' folder.
ClickPermission clickPermission();

// Lets the desktop ask the user whether this program may click, for desktops that want it said before.
// Returns the exit status. Needs no display of its own.
int askUserForClicks(int argumentCount, char **arguments);

} // namespace companion
