#include "platform/dbus/KWinPictures.h"

#include "core/Lifetime.h"
#include "core/Log.h"
#include "platform/dbus/PixelPipe.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

#include <map>
#include <utility>

namespace companion {
namespace {

const QString kService = QStringLiteral("org.kde.KWin");
const QString kPath = QStringLiteral("/org/kde/KWin/ScreenShot2");
const QString kInterface = QStringLiteral("org.kde.KWin.ScreenShot2");
constexpr int kLimit = 1000; // Milliseconds, for the answer.
constexpr std::size_t kMostOpen = 4;

class KWinPictures final : public DesktopPictures {
public:
    KWinPictures(MainQueue &queue, std::unique_ptr<DesktopPictures> otherwise)
        : m_queue(queue),
          m_otherwise(std::move(otherwise)) {}

    void take(const Place &place, Done done) override;
    void probe(const Place &place) override;

private:
    struct Request {
        Place place;
        Done done;
        PixelPipe pipe;
        std::unique_ptr<QDBusPendingCallWatcher> answer;
    };

    void answered(std::uint64_t number);
    void failed(const Place &place, const std::string &reason);
    void finish(std::uint64_t number, bool good);

    MainQueue &m_queue;
    std::unique_ptr<DesktopPictures> m_otherwise;
    std::map<std::uint64_t, Request> m_open;
    std::uint64_t m_last = 0;
    bool m_worked = false; // Once.
    bool m_told = false;   // Of a failure.
    bool m_turnedAway = false;
    Lifetime m_lifetime;
};

void KWinPictures::take(const Place &place, Done done) {
    if (m_turnedAway)
        return m_otherwise->take(place, std::move(done));
    if (m_open.size() >= kMostOpen) // One that does not answer is not to fill the memory.
        finish(m_open.begin()->first, false);
    const std::uint64_t number = ++m_last;
    Request &request = m_open[number];
    request.place = place;
    request.done = std::move(done);
    if (!request.pipe.open())
        return finish(number, false);
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("CaptureScreen"));
    const QVariantMap options{{QStringLiteral("include-cursor"), false},
                              {QStringLiteral("native-resolution"), true}};
    call << QString::fromStdString(place.screen) << options
         << QVariant::fromValue(QDBusUnixFileDescriptor(request.pipe.writersEnd().get()));
    request.answer =
        std::make_unique<QDBusPendingCallWatcher>(QDBusConnection::sessionBus().asyncCall(call, kLimit));
    request.pipe.closeWritersEnd(); // The message has its own.
    QObject::connect(request.answer.get(), &QDBusPendingCallWatcher::finished, request.answer.get(),
                     [this, number] { answered(number); });
}

void KWinPictures::answered(std::uint64_t number) {
    const auto found = m_open.find(number);
    if (found == m_open.end())
        return;
    const QDBusPendingReply<QVariantMap> reply = *found->second.answer;
    // With it goes the last of our own copies of the writer's end.
    found->second.answer.release()->deleteLater();
    if (reply.isError()) {
        failed(found->second.place, reply.error().message().toStdString());
        return finish(number, false);
    }
    m_worked = true;
    const QVariantMap picture = reply.value();
    const auto count = [&picture](const char *name) { return picture.value(QLatin1String(name)).toInt(); };
    const int format = count("format");
    if (format <= QImage::Format_Invalid || format >= QImage::NImageFormats)
        return finish(number, false);
    found->second.pipe.read({count("width"), count("height")}, count("stride"),
                            static_cast<QImage::Format>(format),
                            [this, number](bool complete) { finish(number, complete); });
}

// The user is asked by the other way at the start only.
void KWinPictures::failed(const Place &place, const std::string &reason) {
    if (std::exchange(m_told, true))
        return;
    m_turnedAway = m_otherwise != nullptr && !m_worked;
    if (m_turnedAway)
        return m_otherwise->probe(place);
    Log::line("KWin gives no pictures of the screen, so the magnifier stays empty: " + reason);
}

// On a later turn: the request is in the middle of telling.
void KWinPictures::finish(std::uint64_t number, bool good) {
    m_queue.post(std::chrono::milliseconds(0), m_lifetime.guard([this, number, good] {
        auto request = m_open.extract(number);
        if (!request.empty())
            request.mapped().done(good ? request.mapped().pipe.picture() : QImage());
    }));
}

void KWinPictures::probe(const Place &place) {
    take(place, [](const QImage &) {});
}

} // namespace

bool kwinRuns() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(kService);
}

std::unique_ptr<DesktopPictures> makeKWinPictures(MainQueue &queue,
                                                  std::unique_ptr<DesktopPictures> otherwise) {
    if (!kwinRuns())
        return otherwise;
    return std::make_unique<KWinPictures>(queue, std::move(otherwise));
}

} // namespace companion
