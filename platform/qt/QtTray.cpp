#include "platform/qt/QtTray.h"

#include "resources/Images.h"

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>

namespace companion {

QtTray::QtTray() = default;
QtTray::~QtTray() = default;

bool QtTray::available() const {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void QtTray::show(const std::string &iconName, const std::string &menuTitle, std::vector<Entry> entries) {
    m_menu = std::make_unique<QMenu>(QString::fromStdString(menuTitle));
    for (Entry &entry : entries) {
        QAction *action = m_menu->addAction(QString::fromStdString(entry.title));
        action->setEnabled(entry.action != nullptr);
        if (entry.action)
            QObject::connect(action, &QAction::triggered, action, std::move(entry.action));
    }
    m_icon = std::make_unique<QSystemTrayIcon>(image(QString::fromStdString(iconName)));
    m_icon->setToolTip(QStringLiteral("presenter-companion"));
    m_icon->setContextMenu(m_menu.get());
    m_icon->show();
}

} // namespace companion
