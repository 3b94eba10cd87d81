#pragma once

#include "platform/x11/X11Connection.h"

#include <QRect>

namespace companion {

// The overlay's two windows as the X server knows them: out of every window manager's reach, not mapped yet,
// of that size and place. Both ask for presses and motions: a drag that began here also ends here, and the
// motions tell the input monitor where the pointer is. Nothing of the mouse goes on to the root, where a
// window manager's menu waits for clicks. Keys do: they are not ours.

// 8 bits of alpha above 24 bits of colour; 0, with the reason, when the server has no such windows.
xcb_visualid_t translucentVisual(const xcb_screen_t &screen, std::string &error);

xcb_window_t createDrawnWindow(X11Connection &connection, const QRect &area, xcb_visualid_t visual);
xcb_window_t createCatcherWindow(X11Connection &connection, const QRect &area);

} // namespace companion
