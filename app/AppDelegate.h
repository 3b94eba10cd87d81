#pragma once

#include <functional>
#include <memory>

namespace companion {

class NotificationCenter;
class Tray;

// Puts the program's only menu into the tray.
class AppDelegate {
public:
    // `quit` ends the process at once with status 0 and does not return.
    AppDelegate(NotificationCenter &center, std::unique_ptr<Tray> tray, std::function<void()> quit);
    ~AppDelegate();

    // Builds the status item and its menu.
    void applicationDidFinishLaunching();

    void statusBtnClick() {} // Clicking the item opens its menu and does nothing else.

    // Not in the menu; for whoever wants the overlay out of the way.
    void setPanelFrontAction();
    void setPanelBackAction();

    void gotoSettingWindowAction();
    void quitAppAction(); // Nothing to save: every change was saved when it was made.
    void applicationWillTerminate() {}

    // The one status item; kept for the life of the process.
    Tray *statusItem() const { return m_statusItem.get(); }
    void setStatusItem(std::unique_ptr<Tray> item);

private:
    NotificationCenter &m_center;
    std::unique_ptr<Tray> m_statusItem;
    std::function<void()> m_quit;
};

} // namespace companion
