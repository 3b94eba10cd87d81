#pragma once

#include "platform/ports/Tray.h"

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace companion {

// The status icon through Qt: XEmbed trays and StatusNotifier hosts.
class QtTray final : public Tray {
public:
    QtTray();
    ~QtTray() override;

    bool available() const override;
    void show(const std::string &iconName, const std::string &menuTitle, std::vector<Entry> entries) override;

private:
    std::unique_ptr<QMenu> m_menu; // Outlives the icon, which only looks at it.
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace companion
