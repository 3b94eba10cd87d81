#pragma once

namespace companion {

// Of the desktop's portal, in front of whatever does the work.
inline constexpr const char *kScreenshotPortal = "org.freedesktop.portal.Screenshot";
inline constexpr const char *kRemoteDesktopPortal = "org.freedesktop.portal.RemoteDesktop";

// Whether it has this interface, of at least this version. Waits for the bus, half a second at most.
bool portalHas(const char *interface, unsigned version = 1);

} // namespace companion
