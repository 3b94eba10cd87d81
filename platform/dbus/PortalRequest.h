#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace companion {

// A call to the portal, of its interface org.freedesktop.portal.Request: the answer comes later and by a
// signal, for the user may be asked in between. Ends the question when it is destroyed.
class PortalRequest : public QObject {
    Q_OBJECT

public:
    // Told once, on a later turn of the main thread: the results, or none (`granted` is false) if the user,
    // the desktop or the bus said no.
    using Done = std::function<void(bool granted, const QVariantMap &results)>;

    // `options` is appended to the arguments with the request's own token in it.
    PortalRequest(const char *interface, const QString &method, const QVariantList &arguments,
                  QVariantMap options, Done done);
    ~PortalRequest() override;

private Q_SLOTS:
    void answered(unsigned response, const QVariantMap &results);

private:
    void finish(bool granted, const QVariantMap &results);
    void listenAt(const QString &path);

    QString m_path; // Of the request's object.
    Done m_done;
};

QDBusMessage portalCall(const char *interface, const QString &method, const QVariantList &arguments);

} // namespace companion
