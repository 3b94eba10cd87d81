#include "support/rig/Screen.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

constexpr int kCursor = 10; // Pixels, right of and below its hot spot.

bool isUniform(const QImage &image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (!sameColour(image.pixel(x, y), image.pixel(0, 0)))
                return false;
    return true;
}

} // namespace

Screen::Screen(const Desktop &desktop) : m_desktop(desktop), m_connection(desktop.display()) {}

QImage Screen::grab() const {
    if (auto *wayland = m_desktop.wayland())
        return wayland->grab();
    return grab(QRect(QPoint(0, 0), m_desktop.size()));
}

QImage Screen::grab(const QRect &area) const {
    if (m_desktop.wayland() != nullptr)
        return grab().copy(area);
    const auto reply = m_connection.reply(
        xcb_get_image_reply,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_connection.root(),
                      static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                      static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()),
                      ~0U));
    if (!reply)
        throw std::runtime_error("the screen could not be read");
    return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), QImage::Format_RGB32).copy();
}

QRgb Screen::pixel(QPoint at) const {
    return grab(QRect(at, QSize(1, 1))).pixel(0, 0);
}

milliseconds Screen::waitFor(const std::string &what, const QRect &area,
                             const std::function<bool(const QImage &)> &pleases, milliseconds limit) const {
    QImage last;
    try {
        return waitUntil(
            what,
            [&] {
                last = grab(area);
                return pleases(last);
            },
            limit);
    } catch (const WaitTimeout &timeout) {
        throw WaitTimeout(std::string(timeout.what()) + "; the screen is in " + keepPicture(grab(), what));
    }
}

milliseconds Screen::waitForPixel(QPoint at, QRgb colour, milliseconds limit) const {
    const QString what =
        QStringLiteral("colour %1 at %2,%3").arg(colour, 8, 16, QLatin1Char('0')).arg(at.x()).arg(at.y());
    return waitFor(
        what.toStdString(), QRect(at, QSize(1, 1)),
        [&](const QImage &image) { return sameColour(image.pixel(0, 0), colour); }, limit);
}

QImage Screen::settled() const {
    QImage last = grab();
    int equal = 0;
    waitFor("a screen that stays as it is", QRect(QPoint(0, 0), m_desktop.size()), [&](const QImage &now) {
        equal = now == last ? equal + 1 : 0;
        last = now;
        letTimePass(20ms);
        return equal >= 3;
    });
    return last;
}

bool Screen::cursorVisible() const {
    if (auto *wayland = m_desktop.wayland())
        return !isUniform(wayland->grab(true).copy(
            QRect(wayland->client().pointer() + QPoint(1, 1), QSize(kCursor, kCursor))));
    // Images that clients read have the cursor taken out; the server's own memory has it in.
    constexpr int kAround = 12;
    const QPoint pointer = m_desktop.connection().pointer();
    const QRect area = QRect(pointer - QPoint(kAround, kAround), QSize(2 * kAround, 2 * kAround)) &
                       QRect(QPoint(0, 0), m_desktop.size());
    const QImage without = grab(area);
    letTimePass(5ms); // The server takes the cursor off for a reader and puts it back once it is idle.

    QFile file(QString::fromStdString(m_desktop.frameBufferFile()));
    const uchar *memory = file.open(QIODevice::ReadOnly) ? file.map(0, file.size()) : nullptr;
    if (memory == nullptr)
        throw std::runtime_error("the server's frame buffer cannot be read");
    // An XWD file: header size, bytes per line and number of colours are its fields 0, 12 and 19.
    const auto field = [&](int index) { return qFromBigEndian<quint32>(memory + 4 * index); };
    const qsizetype stride = field(12);
    const uchar *pixels = memory + field(0) + field(19) * 12 + area.y() * stride + area.x() * 4;
    return QImage(pixels, area.width(), area.height(), stride, QImage::Format_RGB32) != without;
}

bool sameColour(QRgb a, QRgb b, int tolerance) {
    return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

std::string keepPicture(const QImage &picture, const std::string &name) {
    const QDir folder(qEnvironmentVariable("COMPANION_TEST_PICTURES", QStringLiteral("test-pictures")));
    folder.mkpath(QStringLiteral("."));
    const auto *test = ::testing::UnitTest::GetInstance()->current_test_info();
    QString file = QStringLiteral("%1-%2").arg(QLatin1String(test ? test->name() : "setup"),
                                               QString::fromStdString(name));
    for (QChar &c : file)
        if (!c.isLetterOrNumber() && c != QLatin1Char('-'))
            c = QLatin1Char('_');
    const QString path = folder.absoluteFilePath(file.left(120) + QStringLiteral(".png"));
    return picture.save(path) ? path.toStdString() : "(not saved)";
}

} // namespace companion::rig
