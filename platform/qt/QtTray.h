#pragma once

#include "core/Lifetime.h"
#include "platform/ports/Tray.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

class QMenu;
class QSystemTrayIcon;

namespace companion {

class MainQueue;
class StatusNotifierWatch;
class TrayArea;

// The status icon through Qt, in a tray of either kind: XEmbed and StatusNotifier.
//
// Qt decides once and for all which kind there is, when the first icon is made: one that is made too early
// never appears in a StatusNotifier tray. So it is made when a tray is there, however late that is. From then
// on Qt itself follows trays of that kind that end and come back.
class QtTray final : public Tray {
public:
    static constexpr std::chrono::seconds kPatience{5}; // Then one log line says that there is no tray.

    // Both must outlive the tray. `missing` is called once if no tray is there after kPatience.
    QtTray(TrayArea &area, MainQueue &queue, std::function<void()> missing);
    ~QtTray() override;

    // Trays that open the menu by themselves on a click do not tell of it.
    void setAction(std::function<void()> clicked) override { m_clicked = std::move(clicked); }

    // Looks for a tray on a later turn, when the start's more urgent work is done.
    void show(const std::string &iconName, const std::string &menuTitle, std::vector<Entry> entries) override;

private:
    void lookForTray();
    void makeIcon();

    TrayArea &m_area;
    MainQueue &m_queue;
    std::function<void()> m_missing;
    std::string m_iconName;
    std::function<void()> m_clicked;
    std::unique_ptr<StatusNotifierWatch> m_watch; // Until the icon is made.
    std::unique_ptr<QMenu> m_menu;                // Outlives the icon, which only looks at it.
    std::unique_ptr<QSystemTrayIcon> m_icon;
    Lifetime m_life;
};

// Whether a StatusNotifier tray runs; waits for the answer at most so long.
bool statusNotifierTrayRuns(std::chrono::milliseconds patience);

} // namespace companion
