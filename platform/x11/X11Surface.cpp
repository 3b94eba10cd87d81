#include "platform/x11/X11Surface.h"

#include "platform/x11/CoveredSpans.h"
#include "platform/x11/X11OverlayWindows.h"
#include "platform/x11/X11Rectangle.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace companion {

namespace {

constexpr int kFirstFrontLevel = 1000; // Two front levels exist, 1002 and 1000; both are above all windows.
constexpr std::size_t kPixelMemory = 4 << 20;
constexpr auto kCheckEvery = 100ms; // Whether the compositor is still at work, while the overlay is shown.
constexpr int kStartingTries = 10;  // To see a compositor at work that has just started.
constexpr auto kBetweenTries = 300ms;
constexpr auto kSettlingTime = 100ms; // For the windows below to draw what the overlay has left.

std::int64_t areaOf(const QRect &r) {
    return std::int64_t{r.width()} * r.height();
}

} // namespace

bool X11Surface::possible(const X11Connection::Link &link, std::string &error) {
    if (translucentVisual(screenOf(link), error) == 0)
        return false;
    if (X11Still::formatsOf(link))
        return true;
    error = "the X server cannot blend pictures of its own screen";
    return false;
}

std::unique_ptr<X11Surface> X11Surface::make(X11Connection &connection, MainQueue &queue, X11Screens &screens,
                                             X11CompositorWatch &compositor, std::string &error) {
    if (!possible(connection.link(), error))
        return nullptr;
    return std::unique_ptr<X11Surface>(new X11Surface(connection, queue, screens, compositor,
                                                      translucentVisual(connection.screen(), error),
                                                      *X11Still::formatsOf(connection.link())));
}

X11Surface::X11Surface(X11Connection &connection, MainQueue &queue, X11Screens &screens,
                       X11CompositorWatch &compositor, xcb_visualid_t visual,
                       const X11Still::Formats &formats)
    : m_connection(connection),
      m_queue(queue),
      m_screens(screens),
      m_compositor(compositor),
      m_drawn(connection, queue, createDrawnWindow(connection, screens.area(), visual), screens.area()),
      m_catcher(connection, queue, createCatcherWindow(connection, screens.area()), screens.area()),
      m_stacking(connection, screens, windows()),
      m_shape(connection, m_drawn.window()),
      m_still(connection, m_drawn.window(), formats),
      m_painter(connection, m_drawn.window(), kPixelMemory) {
    setBlends(m_compositor.blends());
    awaitBlending(kStartingTries);
    m_screens.onChanged([this] { follow(); });
    m_compositor.onChanged([this] {
        m_mayBlendAgain = m_compositor.running();
        check();
        awaitBlending(kStartingTries);
    });
    connection.onEvent(XCB_EXPOSE, [this](const xcb_generic_event_t &event) {
        const auto &exposed = reinterpret_cast<const xcb_expose_event_t &>(event);
        if (exposed.window == m_drawn.window())
            m_exposed |= QRect(exposed.x, exposed.y, exposed.width, exposed.height);
    });
    connection.onBatchEnd([this] { showExposed(); });
}

void X11Surface::setLevel(int level) {
    const bool front = level >= kFirstFrontLevel;
    if (front == m_inFront) {
        if (front)
            raise();
        return;
    }
    m_inFront = front;
    if (front)
        raise();
    startOver();
    m_connection.flush();
}

void X11Surface::raise() {
    m_screens.findPointer();
    followCompositor();
    m_stacking.raise();
}

// While nothing is shown.
void X11Surface::followCompositor() {
    if (m_drawn.onScreen() || m_catcher.onScreen())
        return;
    const bool blends =
        m_drawn.waitsOutside() ? m_compositor.blends(m_drawn.window()) : m_compositor.blends();
    if (blends != m_blends)
        setBlends(blends);
}

// One that has just started needs a moment. Followed before the overlay is needed, so that a window which
// fades in has done so by then.
void X11Surface::awaitBlending(int tries) {
    if (m_blends || tries == 0 || !m_compositor.running())
        return;
    m_queue.post(kBetweenTries, m_lifetime.guard([this, tries] {
        followCompositor();
        m_connection.flush();
        awaitBlending(tries - 1);
    }));
}

void X11Surface::setTakesMouse(bool takes) {
    if (takes == m_takesMouse)
        return;
    m_takesMouse = takes;
    arrange();
    m_connection.flush();
}

// Which window is on the screen, and which of them takes the mouse.
void X11Surface::arrange() {
    const bool takes = m_inFront && m_takesMouse;
    m_drawn.setTakesMouse(takes && m_blends);
    m_drawn.setWanted(m_inFront && !m_settling && (m_occupied || (takes && m_blends)));
    m_catcher.setTakesMouse(takes && !m_blends);
    m_catcher.setWanted(takes && !m_blends);
    checkSoon();
}

void X11Surface::setBlends(bool blends) {
    m_blends = blends;
    m_mayBlendAgain = false;
    setBackground(blends ? std::optional<Pixel>(0) : std::nullopt);
    m_drawn.setWaitsOutside(blends && m_compositor.fadesWindows());
    m_still.end();
    m_shape.clear();
    if (blends) {
        m_shape.drop();
        m_painter.setTarget(m_drawn.window());
    }
}

// What the window shows where nothing has been painted yet; none: what the screen shows there, so that
// nothing black flashes up.
void X11Surface::setBackground(std::optional<Pixel> pixel) {
    m_background = pixel;
    const std::uint32_t value = pixel.value_or(XCB_BACK_PIXMAP_NONE);
    xcb_change_window_attributes(m_connection.xcb(), m_drawn.window(),
                                 pixel ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP, &value);
}

void X11Surface::checkSoon() {
    if (m_checkPosted || !m_drawn.onScreen() || !m_compositor.running())
        return;
    m_checkPosted = true;
    m_queue.post(kCheckEvery, m_lifetime.guard([this] {
        m_checkPosted = false;
        check();
    }));
}

// Compositors come and go while the overlay is shown, and may pause while they still say that they run.
void X11Surface::check() {
    if (!m_drawn.onScreen())
        return;
    const bool blends = m_compositor.blends(m_drawn.window());
    if (blends == m_blends || (blends && !m_mayBlendAgain))
        return checkSoon();
    setBlends(blends);
    if (blends)
        return startOver();
    m_settling = true;
    startOver();
    m_queue.post(kSettlingTime, m_lifetime.guard([this] {
        m_settling = false;
        startOver();
    }));
}

void X11Surface::showExposed() {
    const QRect area = std::exchange(m_exposed, QRect());
    if (area.isEmpty() || !m_drawn.onScreen())
        return;
    if (m_blends)
        check(); // The server keeps the content of what a compositor draws.
    else if (m_still.begun())
        m_still.show(area);
}

void X11Surface::follow() {
    m_drawn.leave();
    m_drawn.setArea(area());
    m_catcher.setArea(area());
    startOver();
}

void X11Surface::putRight() {
    m_drawn.withdraw();
    m_catcher.withdraw();
    startOver();
}

// Nothing of the content counts any more: everything is painted again.
void X11Surface::startOver() {
    m_drawn.leave();
    m_still.end();
    m_shape.clear();
    m_occupied = false;
    arrange();
    m_connection.flush();
    if (m_listener)
        m_listener();
}

void X11Surface::present(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    if (!m_inFront || m_settling)
        return;
    m_occupied = std::any_of(frame.occupied.begin(), frame.occupied.end(),
                             [this](const QRect &r) { return r.intersects(all()); });
    if (m_blends)
        presentBlended(frame, paint);
    else
        presentOverStill(frame, paint);
    m_connection.flush();
}

void X11Surface::presentBlended(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    const bool comes = m_occupied && !m_drawn.onScreen();
    if (comes) {
        comeUp(frame);
    } else {
        arrange();
        if (!m_drawn.onScreen())
            return;
        m_painter.fill(frame.fills);
    }
    for (const auto &patch : frame.patches) {
        const bool first = &patch == &frame.patches.front();
        if (first && frame.picture != 0 && all().contains(patch))
            m_painter.paintPicture(frame.picture, patch, paint);
        else
            m_painter.paint(patch & all(), paint, nullptr);
    }
    if (comes)
        arrange();
}

// With the largest fill for a background: a screenful is painted once, with the window's coming. A window
// that waits outside is left with it, and has it already when it comes with the same.
void X11Surface::comeUp(const SurfaceFrame &frame) {
    m_fills = frame.fills;
    const auto ground = std::max_element(m_fills.begin(), m_fills.end(), [](const auto &a, const auto &b) {
        return areaOf(a.area) < areaOf(b.area);
    });
    Pixel background = 0;
    if (ground != m_fills.end() && areaOf(ground->area) > areaOf(all()) / 2) {
        background = ground->pixel;
        const QRegion rest = QRegion(all()) - ground->area;
        m_fills.erase(ground);
        for (const QRect &piece : rest)
            m_fills.insert(m_fills.begin(), {piece, 0});
    }
    if (!m_drawn.waitsOutside()) {
        setBackground(background);
        arrange();
    } else if (m_background != background) {
        setBackground(background);
        m_fills.insert(m_fills.begin(), {all(), background});
    }
    m_painter.fill(m_fills);
}

void X11Surface::presentOverStill(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    if (!m_occupied) {
        arrange();
        m_still.end();
        m_shape.clear();
        return;
    }
    if (!m_still.begun()) {
        m_still.begin(area());
        m_painter.setTarget(m_still.sheet());
    }
    m_rectangles.clear();
    m_fills.clear();
    m_areas.clear();
    for (const auto &fill : frame.fills) {
        m_rectangles.push_back(toRectangle(fill.area & all()));
        if (fill.pixel != 0)
            m_fills.push_back(fill);
    }
    for (const auto &patch : frame.patches) {
        m_rectangles.push_back(toRectangle(patch & all()));
        m_areas.push_back(patch & all());
    }
    m_shape.remove(m_rectangles);
    m_rectangles.clear();
    for (const auto &fill : m_fills) {
        m_rectangles.push_back(toRectangle(fill.area & all()));
        m_areas.push_back(fill.area & all());
    }
    m_shape.add(m_rectangles);

    for (const QRect &covered : m_areas)
        m_still.take(covered);
    m_painter.fill(m_fills);
    for (const auto &patch : frame.patches)
        m_painter.paint(patch & all(), paint, [this](const PixelPatch &band) {
            m_rectangles.clear();
            addCovered(band, m_rectangles);
            m_shape.add(m_rectangles);
        });
    for (const QRect &covered : m_areas)
        m_still.blend(covered);
    m_shape.apply(); // What lies outside of it is lost.
    arrange();
    for (const QRect &covered : m_areas)
        m_still.show(covered);
}

} // namespace companion
