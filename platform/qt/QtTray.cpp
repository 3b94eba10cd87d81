#include "platform/qt/QtTray.h"

#include "core/Log.h"
#include "core/MainQueue.h"
#include "platform/ports/TrayArea.h"
#include "platform/qt/StatusNotifierWatch.h"
#include "resources/Images.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

using namespace std::chrono_literals;

namespace companion {

QtTray::QtTray(TrayArea &area, MainQueue &queue, std::function<void()> missing)
    : m_area(area),
      m_queue(queue),
      m_missing(std::move(missing)) {}
QtTray::~QtTray() = default;

void QtTray::show(const std::string &iconName, const std::string &menuTitle, std::vector<Entry> entries) {
    m_icon.reset();
    m_iconName = iconName;
    m_menu = std::make_unique<QMenu>(QString::fromStdString(menuTitle));
    for (Entry &entry : entries) {
        QAction *action = m_menu->addAction(QString::fromStdString(entry.title));
        action->setEnabled(entry.action != nullptr);
        if (entry.action)
            QObject::connect(action, &QAction::triggered, action, std::move(entry.action));
    }
    m_queue.post(0ms, m_life.guard([this] { lookForTray(); }));
}

void QtTray::lookForTray() {
    m_area.onAppeared(m_life.guard([this] { makeIcon(); }));
    if (m_area.present())
        return makeIcon();
    m_watch = std::make_unique<StatusNotifierWatch>([this] { makeIcon(); });
    m_queue.post(kPatience, m_life.guard([this] {
        if (m_icon != nullptr)
            return;
        Log::line("no tray shows status icons so far: \"presenter-companion --settings\" opens the "
                  "settings, \"presenter-companion --quit\" ends the program");
        m_missing();
    }));
}

void QtTray::makeIcon() {
    if (m_icon != nullptr)
        return;
    m_queue.post(0ms, m_life.guard([this] { m_watch.reset(); })); // It may be what calls us.
    m_icon = std::make_unique<QSystemTrayIcon>(image(QString::fromStdString(m_iconName)));
    m_icon->setToolTip(QStringLiteral("presenter-companion"));
    m_icon->setContextMenu(m_menu.get());
    QObject::connect(m_icon.get(), &QSystemTrayIcon::activated, m_menu.get(),
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason != QSystemTrayIcon::Trigger)
                             return;
                         if (m_clicked)
                             m_clicked();
                         if (!m_menu->isVisible())
                             m_menu->popup(QCursor::pos());
                     });
    m_icon->show();
}

bool statusNotifierTrayRuns(std::chrono::milliseconds patience) {
    return StatusNotifierWatch::hostRuns(patience);
}

} // namespace companion
