#include "platform/dbus/PortalPictures.h"

#include "core/Lifetime.h"
#include "core/Log.h"
#include "core/RunBeside.h"
#include "platform/dbus/PictureFile.h"
#include "platform/dbus/PortalRequest.h"
#include "platform/dbus/Portals.h"

#include <QDBusConnection>
#include <QUrl>

#include <ctime>
#include <map>
#include <utility>

namespace companion {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostQuestions = 4;

// The part that this screen is of a picture of all of them, however many pixels that has for a point.
QImage partOf(const QImage &picture, const DesktopPictures::Place &place) {
    if (picture.isNull() || place.desktop.isEmpty())
        return {};
    const double scale = double(picture.width()) / place.desktop.width();
    const QRectF area = QRectF(place.area.translated(-place.desktop.topLeft()));
    const QRect part = QRectF(area.topLeft() * scale, area.size() * scale).toRect() & picture.rect();
    const QImage cut = picture.copy(part).convertToFormat(QImage::Format_RGB32);
    if (cut.size() == place.pixels || cut.isNull())
        return cut;
    return cut.scaled(place.pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

class PortalPictures final : public DesktopPictures {
public:
    explicit PortalPictures(MainQueue &queue) : m_queue(queue) {}

    void take(const Place &place, Done done) override;
    void probe(const Place &place) override;

private:
    enum class Consent { Unknown, Asked, Given, Refused };
    struct Open {
        Done done;
        std::unique_ptr<PortalRequest> request;
    };

    void ask(const Place &place, Done done);
    void finish(std::uint64_t number, const QImage &picture);

    MainQueue &m_queue;
    Consent m_consent = Consent::Unknown;
    std::map<std::uint64_t, Open> m_open;
    std::uint64_t m_last = 0;
    Lifetime m_lifetime;
};

void PortalPictures::take(const Place &place, Done done) {
    if (m_consent == Consent::Given)
        return ask(place, std::move(done));
    m_queue.post(0ms, [done = std::move(done)] { done(QImage()); });
}

void PortalPictures::probe(const Place &place) {
    if (m_consent != Consent::Unknown)
        return;
    m_consent = Consent::Asked;
    Log::line("the desktop may ask now whether this program may take pictures of the screen; the magnifier "
              "enlarges them");
    ask(place, [this](const QImage &picture) {
        m_consent = picture.isNull() ? Consent::Refused : Consent::Given;
        if (picture.isNull())
            Log::line("the desktop gives the magnifier no pictures of the screen");
    });
}

void PortalPictures::ask(const Place &place, Done done) {
    if (m_open.size() >= kMostQuestions) // A portal that does not answer is not to fill the memory.
        finish(m_open.begin()->first, {});
    const std::uint64_t number = ++m_last;
    const Done finished =
        m_lifetime.guard([this, number](const QImage &picture) { finish(number, picture); });
    const auto answered = [place, asked = std::time(nullptr), finished](bool granted,
                                                                        const QVariantMap &results) {
        if (!granted)
            return finished(QImage());
        const QUrl file(results.value(QStringLiteral("uri")).toString());
        runBeside<QImage>([=] { return partOf(takeAwayPicture(file, asked), place); }, finished);
    };
    m_open[number].done = std::move(done);
    m_open[number].request = std::make_unique<PortalRequest>(
        kScreenshotPortal, QStringLiteral("Screenshot"), QVariantList{QString()},
        QVariantMap{{QStringLiteral("interactive"), false}, {QStringLiteral("modal"), false}}, answered);
}

// On a later turn: the request is in the middle of telling.
void PortalPictures::finish(std::uint64_t number, const QImage &picture) {
    m_queue.post(0ms, m_lifetime.guard([this, number, picture] {
        const auto open = m_open.extract(number);
        if (!open.empty())
            open.mapped().done(picture);
    }));
}

} // namespace

std::unique_ptr<DesktopPictures> makePortalPictures(MainQueue &queue) {
    return QDBusConnection::sessionBus().isConnected() ? std::make_unique<PortalPictures>(queue) : nullptr;
}

} // namespace companion
