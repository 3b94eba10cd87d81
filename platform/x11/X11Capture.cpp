#include "platform/x11/X11Capture.h"

#include "core/Log.h"
#include "platform/x11/X11WindowsPicture.h"

#include <cstring>
#include <memory>
#include <utility>

namespace companion {

namespace {

// Longer than the pause between dropping an outdated picture and taking the next.
constexpr std::chrono::milliseconds kKeepFor{1000};
constexpr auto kAllPlanes = ~std::uint32_t{0};

// Whether a pixel of the desktop is 32 bits with the colours where QImage expects them.
bool hasUsualPixels(const X11Connection &connection) {
    const auto &screen = connection.screen();
    bool wide = false;
    for (auto i = xcb_setup_pixmap_formats_iterator(xcb_get_setup(connection.xcb())); i.rem > 0;
         xcb_format_next(&i))
        wide |= i.data->depth == screen.root_depth && i.data->bits_per_pixel == 32;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth))
        for (auto i = xcb_depth_visuals_iterator(depth.data); i.rem > 0; xcb_visualtype_next(&i))
            if (i.data->visual_id == screen.root_visual)
                return wide && i.data->red_mask == 0xff0000 && i.data->green_mask == 0xff00 &&
                       i.data->blue_mask == 0xff;
    return false;
}

// The server leaves the fourth byte as it likes, while QImage copies it along as opacity.
void fillUnusedByte(std::uint32_t *pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] |= 0xff000000u;
}

// What a picture looks into, for as long as any copy of it lives.
struct Keeper {
    std::shared_ptr<X11SharedMemory> shared;
    X11Reply<xcb_get_image_reply_t> reply;
    std::function<void()> dropped;
};

QImage imageOver(void *pixels, const QRect &area, std::unique_ptr<Keeper> keeper) {
    const auto drop = [](void *p) {
        const std::unique_ptr<Keeper> last(static_cast<Keeper *>(p));
        last->shared.reset();
        if (last->dropped)
            last->dropped();
    };
    QImage image(static_cast<uchar *>(pixels), area.width(), area.height(), qsizetype{4} * area.width(),
                 QImage::Format_RGB32, drop, keeper.get());
    if (!image.isNull())
        static_cast<void>(keeper.release()); // The image's now.
    return image;
}

} // namespace

X11Capture::X11Capture(X11Connection &connection, X11Screens &screens, MainQueue &queue,
                       DesktopPictures *desktop)
    : m_connection(connection),
      m_screens(screens),
      m_queue(queue),
      m_desktop(desktop),
      m_available(hasUsualPixels(connection)) {
    if (!m_available)
        Log::line("the screen's pixels are not 24-bit colours: no screen capture, so no magnifier");
}

void X11Capture::captureDesktop(std::function<void(const QImage &)> done) {
    if (m_desktop == nullptr)
        return done(ofServer());
    m_desktop->take(place(), m_lifetime.guard([this, done](const QImage &picture) {
        done(picture.isNull() ? ofServer() : picture);
    }));
}

DesktopPictures::Place X11Capture::place() const {
    const QRect area = m_screens.area();
    return {m_screens.name(), area, m_screens.desktop(), area.size()};
}

QImage X11Capture::ofServer() {
    const QRect area = m_screens.area();
    QImage image;
    if (m_available && !area.isEmpty()) {
        if (windowsAreApart()) {
            const X11WindowsPicture windows(m_connection, area);
            if (windows.pixmap() != XCB_NONE)
                image = taken(windows.pixmap(), QRect(QPoint(0, 0), area.size()));
        } else {
            image = taken(m_connection.root(), area);
        }
    }
    return image;
}

// A whole picture would cost the start most of its time on a large screen.
void X11Capture::probe() {
    if (m_desktop != nullptr)
        return m_desktop->probe(place());
    if (m_available && !m_screens.area().isEmpty())
        copied(m_connection.root(), QRect(m_screens.area().topLeft(), QSize(1, 1)));
}

bool X11Capture::windowsAreApart() {
    if (!m_windowsAreApart)
        m_windowsAreApart = isXwayland(m_connection);
    return *m_windowsAreApart;
}

QImage X11Capture::taken(xcb_drawable_t drawable, const QRect &area) {
    return m_connection.extensions().sharedMemory ? shared(drawable, area) : copied(drawable, area);
}

QImage X11Capture::shared(xcb_drawable_t drawable, const QRect &area) {
    const std::size_t pixels =
        static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height());
    if (!m_memory || m_memory.use_count() > 1 || m_memory->size() != pixels * 4)
        m_memory = X11SharedMemory::create(m_connection, pixels * 4);
    if (!m_memory)
        return copied(drawable, area);
    auto *c = m_connection.xcb();
    const auto cookie = xcb_shm_get_image(
        c, drawable, static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
        static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()), kAllPlanes,
        XCB_IMAGE_FORMAT_Z_PIXMAP, m_memory->id(), 0);
    const X11Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(c, cookie, nullptr));
    if (!reply) {
        m_connection.checkAlive();
        releaseSoon();
        return {};
    }
    fillUnusedByte(reinterpret_cast<std::uint32_t *>(m_memory->data()), pixels);
    auto keeper = std::make_unique<Keeper>();
    keeper->shared = m_memory;
    keeper->dropped = m_lifetime.guard([this] { releaseSoon(); });
    return imageOver(m_memory->data(), area, std::move(keeper));
}

QImage X11Capture::copied(xcb_drawable_t drawable, const QRect &area) {
    auto *c = m_connection.xcb();
    const auto cookie =
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(area.x()),
                      static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), kAllPlanes);
    X11Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(c, cookie, nullptr));
    const std::size_t pixels =
        static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height());
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < pixels * 4) {
        m_connection.checkAlive();
        return {};
    }
    auto *data = xcb_get_image_data(reply.get());
    fillUnusedByte(reinterpret_cast<std::uint32_t *>(data), pixels);
    auto keeper = std::make_unique<Keeper>();
    keeper->reply = std::move(reply);
    return imageOver(data, area, std::move(keeper));
}

// The whole screen's memory is too much to hold for a magnifier that is out of use.
void X11Capture::releaseSoon() {
    if (m_releasePosted)
        return;
    m_releasePosted = true;
    m_queue.post(kKeepFor, m_lifetime.guard([this] {
        m_releasePosted = false;
        if (m_memory.use_count() == 1)
            m_memory.reset();
    }));
}

} // namespace companion
