#pragma once

#include "core/MainQueue.h"
#include "platform/ports/DesktopMouse.h"

#include <QString>

#include <functional>
#include <memory>

namespace companion {

// That the user lets this program click, by the portal's interface org.freedesktop.portal.RemoteDesktop: a
// word of the portal's in a file of ours, good for one session, which gives the next word.
class ClickPermission {
public:
    explicit ClickPermission(QString file) : m_file(std::move(file)) {}

    QString word() const; // Empty: the user has not been asked, or said no.
    bool keep(const QString &word) const;

private:
    QString m_file;
};

// Clicks with that permission, and asks for nothing: null where the user has not given it.
std::unique_ptr<DesktopMouse> makePortalMouse(MainQueue &queue, const ClickPermission &permission);

// Lets the desktop ask the user. `done` is told on a later turn of the main thread, with the reason if there
// is no lasting permission; drop what is returned then.
std::unique_ptr<DesktopMouse> askForClicks(MainQueue &queue, const ClickPermission &permission,
                                           std::function<void(bool given, const char *reason)> done);

} // namespace companion
