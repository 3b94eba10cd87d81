#pragma once

#include <string_view>

// Every in-process notification: payload, who posts it, who observes it. All posts happen on the main thread.
// SYSTEM_ names concern the overlay window and the status menu, LOCAL_ names the receiver, NOTIFY_ names the
// settings user interface.
namespace companion {

// Integer 1: overlay to the front level; anything else, or none: to the back level.
// AppDelegate -> MainWindowController.
inline constexpr std::string_view SYSTEM_SETWINDOWLEVEL = "SYSTEM_SETWINDOWLEVEL";

// True: the effect is on and the overlay takes the mouse; false or none: the mouse passes through.
// ViewController -> MainWindowController.
inline constexpr std::string_view SYSTEM_SETMOUSEIGNORES = "SYSTEM_SETMOUSEIGNORES";

// No payload. AppDelegate (menu entry "Setting") -> ViewController.
inline constexpr std::string_view SYSTEM_SHOWSETTINGPAGE = "SYSTEM_SHOWSETTINGPAGE";

// No payload. HidManager, after every pass that finds the receiver present -> settings window.
inline constexpr std::string_view LOCAL_DEVICECONNECT = "LOCAL_DEVICECONNECT";

// No payload. HidManager, once after a removal -> settings window.
inline constexpr std::string_view LOCAL_DEVICEDISCONNECT = "LOCAL_DEVICEDISCONNECT";

// No payload. HidManager (mode key) -> ViewController first, then every open settings window.
inline constexpr std::string_view LOCAL_MOUSETYPESWITCH = "LOCAL_MOUSETYPESWITCH";

// No payload. HidManager (size keys) -> ViewController.
inline constexpr std::string_view LOCAL_MOUSESIZEVALUEADD = "LOCAL_MOUSESIZEVALUEADD";
inline constexpr std::string_view LOCAL_MOUSESIZEVALUESUB = "LOCAL_MOUSESIZEVALUESUB";

// No payload. HidManager, at every poll with the effect key held -> ViewController.
inline constexpr std::string_view LOCAL_MOUSEEFFECTON = "LOCAL_MOUSEEFFECTON";

// No payload. Settings panel -> ViewController.
inline constexpr std::string_view NOTIFY_REFRESHPEN = "NOTIFY_REFRESHPEN";

// No payload. Posted by nobody: closing the settings window leaves the overlay alone -> ViewController.
inline constexpr std::string_view NOTIFY_CLOSESETTINGWINDOW = "NOTIFY_CLOSESETTINGWINDOW";

// No payload. Posted for every window of the program that the user closes -> settings window, which only
// logs.
inline constexpr std::string_view NSWindowWillCloseNotification = "NSWindowWillCloseNotification";

} // namespace companion
