#include "e2e/SettingsDesk.h"

#include <algorithm>
#include <array>

namespace companion::rig {
namespace {

constexpr QRgb kButton = qRgb(0xef, 0xee, 0xe2);
constexpr const char *kProgram = "presenter-companion";

} // namespace

Settings english(Settings more) {
    more.insert(kEnglish.begin(), kEnglish.end());
    return more;
}

Tray::Tray(const Desktop &desktop)
    : process({"trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24",
               "--SetDockType", "true", "--expand", "false"},
              desktop.environment()) {
    waitUntil("the tray",
              [&] { return desktop.connection().selectionOwner("_NET_SYSTEM_TRAY_S0") != XCB_WINDOW_NONE; });
}

SettingsDesk::SettingsDesk(const Settings &settings)
    : SettingsDesk(CompanionProcess::Options{.settings = settings}) {}

SettingsDesk::SettingsDesk(const CompanionProcess::Options &program, const DesktopOptions &options,
                           bool lateTray)
    : desktop(options),
      screen(desktop),
      hand(desktop),
      tray(lateTray ? std::nullopt : std::optional<Tray>(std::in_place, desktop)),
      companion(desktop, program) {
    if (lateTray)
        tray.emplace(desktop);
    waitUntil("the tray icon", [this] { return trayIcon() != XCB_WINDOW_NONE; });
}

void SettingsDesk::choose(Entry entry, std::uint8_t button) {
    waitUntil("the menu that was open before to go", [this] { return menu() == XCB_WINDOW_NONE; });
    hand.move(areaOf(trayIcon()).center());
    hand.click(button);
    waitUntil("the menu", [this] { return menu() != XCB_WINDOW_NONE; });
    letTimePass(50ms); // A hand's.
    const QRect area = areaOf(menu());
    constexpr int kEntries = 3;
    hand.clickAt(
        {area.center().x(), area.top() + area.height() * (2 * static_cast<int>(entry) + 1) / (2 * kEntries)});
}

xcb_window_t SettingsDesk::open() {
    const auto before = windows();
    choose(Entry::Setting);
    waitUntil("a settings window with the keyboard", [&] {
        m_opened = activeWindow();
        const auto now = windows();
        return std::find(before.begin(), before.end(), m_opened) == before.end() &&
               std::find(now.begin(), now.end(), m_opened) != now.end();
    });
    const QPoint button = placeOf(control::kSetTime) - QPoint(40, 0);
    screen.waitForPixel(button, kButton);
    return m_opened;
}

std::vector<xcb_window_t> SettingsDesk::windows() const {
    std::vector<xcb_window_t> found;
    for (const xcb_window_t frame : stack())
        collect(frame, found);
    std::erase_if(found, [this](xcb_window_t window) {
        return desktop.connection().property(window, "WM_STATE").empty();
    });
    return found;
}

xcb_window_t SettingsDesk::awaitDialog() const {
    waitUntil("the colour dialog with the keyboard", [this] {
        const auto all = windows();
        return activeWindow() != m_opened && std::find(all.begin(), all.end(), activeWindow()) != all.end();
    });
    return activeWindow();
}

void SettingsDesk::awaitNoDialog() const {
    waitUntil("the settings window alone with the keyboard",
              [this] { return windows() == std::vector{m_opened} && activeWindow() == m_opened; });
}

std::vector<xcb_window_t> SettingsDesk::stack() const {
    auto all = desktop.connection().childrenOf(desktop.connection().root());
    std::erase_if(all, [this](xcb_window_t window) { return !desktop.connection().isShown(window); });
    return all;
}

xcb_window_t SettingsDesk::frameOf(xcb_window_t window) const {
    for (;;) {
        xcb_window_t parent = XCB_WINDOW_NONE;
        desktop.connection().childrenOf(window, &parent);
        if (parent == desktop.connection().root() || parent == XCB_WINDOW_NONE)
            return window;
        window = parent;
    }
}

xcb_window_t SettingsDesk::overlay() const {
    for (const auto window : stack())
        if (!desktop.connection().property(window, "_COMPTON_SHADOW").empty())
            return window;
    return XCB_WINDOW_NONE;
}

void SettingsDesk::expectOverlayBelow(xcb_window_t window) const {
    waitUntil("the overlay right below the window", [&] {
        const auto all = stack();
        const auto frame = std::find(all.begin(), all.end(), frameOf(window));
        return frame != all.begin() && *std::prev(frame) == overlay();
    });
}

xcb_window_t SettingsDesk::activeWindow() const {
    return desktop.connection().rootWindowProperty("_NET_ACTIVE_WINDOW");
}

void SettingsDesk::moveTo(xcb_window_t window, QPoint frame) const {
    const std::array values{static_cast<std::uint32_t>(frame.x()), static_cast<std::uint32_t>(frame.y())};
    xcb_configure_window(desktop.connection(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values.data());
    // The frame may be counted in or not.
    waitUntil("a window that has moved",
              [&] { return (areaOf(window).topLeft() - frame).manhattanLength() < 40; });
}

QPoint SettingsDesk::placeOf(const Control &control) const {
    return areaOf(m_opened).topLeft() + control.at;
}

void SettingsDesk::drag(const Control &control, int byPoints) {
    const QPoint from = placeOf(control);
    hand.move(from);
    hand.press();
    for (int i = 1; i <= 4; ++i)
        hand.move(from + QPoint(byPoints * i / 4, 0));
    hand.release();
}

void SettingsDesk::retype(const std::string &text) {
    hand.tapKey(kKeyA, kKeyControl);
    hand.type(text);
}

void SettingsDesk::tab(int times) {
    for (int i = 0; i < times; ++i)
        hand.tapKey(kKeyTab);
}

void SettingsDesk::expectStored(const std::string &key, const std::string &value) const {
    try {
        waitUntil(
            key, [&] { return stored(key) == value; }, 5s);
    } catch (const WaitTimeout &) {
        throw WaitTimeout(key + " is \"" + stored(key) + "\", not \"" + value + "\"; the screen is in " +
                          keepPicture(screen.grab(), key));
    }
}

std::string SettingsDesk::className(xcb_window_t window) const {
    // The instance's name, a zero byte, the class's.
    return desktop.connection().property(window, "WM_CLASS").c_str();
}

// All windows of the program that are on the screen, in this one and the ones within.
void SettingsDesk::collect(xcb_window_t window, std::vector<xcb_window_t> &found) const {
    if (!desktop.connection().isShown(window))
        return;
    if (className(window) == kProgram)
        found.push_back(window);
    for (const xcb_window_t child : desktop.connection().childrenOf(window))
        collect(child, found);
}

// The one that lies in a window of the tray's.
xcb_window_t SettingsDesk::trayIcon() const {
    std::vector<xcb_window_t> found;
    for (const xcb_window_t window : stack())
        collect(window, found);
    for (const xcb_window_t window : found)
        if (const QSize size = areaOf(window).size();
            size.height() < 30 && size.width() > 1 && frameOf(window) != window)
            return window;
    return XCB_WINDOW_NONE;
}

// A list that has come up: no frame, and not the overlay.
xcb_window_t SettingsDesk::menu() const {
    for (const xcb_window_t window : stack())
        if (className(window) == kProgram && areaOf(window).width() > 1 && window != overlay())
            return window;
    return XCB_WINDOW_NONE;
}

} // namespace companion::rig
