#pragma once

#include "support/rig/CompanionProcess.h"
#include "support/rig/InputDevices.h"
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <optional>
#include <string>
#include <vector>

namespace companion::rig {

// Where a control of the settings window can be clicked, in points from the top left of the window's content,
// and how many presses of Tab lead to it from the modes, where the keyboard starts.
struct Control {
    QPoint at;
    int tabs;
};

namespace control {
inline constexpr Control kModes[] = {{{122, 120}, 0}, {{319, 120}, 0}, {{122, 216}, 0}, {{319, 216}, 0}};
inline constexpr Control kSizeSlider{{247, 309}, 1}, kZoomSlider{{247, 372}, 2};
inline constexpr Control kMoreTime{{283, 434}, 3}, kSetTime{{363, 434}, 4};
inline constexpr Control kBackColor{{803, 307}, 5}, kBackAlphaSlider{{662, 343}, 6};
inline constexpr Control kFrontColor{{803, 401}, 7}, kFrontAlphaSlider{{662, 437}, 8};
inline constexpr Control kLanguage{{786, 29}, 9};
} // namespace control

inline constexpr QRgb kSettingsColour = qRgb(191, 190, 165);

inline const Settings kEnglish{{"SYSTEM_LANGUAGEINDEX", "1"}};
Settings english(Settings more);

// Where the overlay's hint comes on the desk's usual screen.
inline constexpr QRect kHint(1024 - 180, 28, 160, 52);

// Where programs put their icons. Ready when the constructor returns.
struct Tray {
    explicit Tray(const Desktop &desktop);
    ChildProcess process;
};

// A desktop with a tray, the program in it, and a user at the program's menu and its settings window.
class SettingsDesk {
public:
    enum class Entry { Version, Setting, Quit };

    explicit SettingsDesk(const CompanionProcess::Options &program = {},
                          const DesktopOptions &options = {.size = {1024, 768}}, bool lateTray = false);
    explicit SettingsDesk(const Settings &settings);

    xcb_window_t trayIcon() const; // None while there is none.
    // A click on it, the right button's or the left one's, and one on an entry of the menu.
    void choose(Entry entry, std::uint8_t button = 3);

    // Chooses "Setting", and waits until a further window has the keyboard and shows its controls.
    xcb_window_t open();

    // The program's windows that have a frame: settings windows and colour dialogs.
    std::vector<xcb_window_t> windows() const;
    // Waits for a colour dialog with the keyboard; for the window that was opened last to have it back.
    xcb_window_t awaitDialog() const;
    void awaitNoDialog() const;

    // The children of the root that are shown, from the bottom up, and the one of them that this window lies
    // in.
    std::vector<xcb_window_t> stack() const;
    xcb_window_t frameOf(xcb_window_t window) const;
    // None while the overlay shows nothing.
    xcb_window_t overlay() const;
    // Waits until the overlay lies below the window's frame and above all windows that are below that.
    void expectOverlayBelow(xcb_window_t window) const;
    xcb_window_t activeWindow() const;
    QRect areaOf(xcb_window_t window) const { return desktop.connection().areaOf(window); }
    void moveTo(xcb_window_t window, QPoint frame) const;

    // In the settings window that was opened last.
    QPoint placeOf(const Control &control) const;
    // As fast as a hand is: a window manager holds each press back until it has looked at it, and mixes up
    // what comes meanwhile.
    void click(const Control &control) {
        hand.clickAt(placeOf(control));
        letTimePass(50ms);
    }
    void drag(const Control &control, int byPoints);
    // Into the control that has the keyboard, instead of what it holds.
    void retype(const std::string &text);
    void tab(int times);

    // Waits until the file holds this; read by this process from the disk.
    void expectStored(const std::string &key, const std::string &value) const;
    std::string stored(const std::string &key) const { return companion.storedSettings()[key]; }

    Desktop desktop;
    Screen screen;
    InputDevices hand;
    std::optional<Tray> tray; // Before the program, or after it.
    CompanionProcess companion;

private:
    std::string className(xcb_window_t window) const;
    void collect(xcb_window_t window, std::vector<xcb_window_t> &found) const;
    xcb_window_t menu() const;

    xcb_window_t m_opened = XCB_WINDOW_NONE;
};

} // namespace companion::rig
