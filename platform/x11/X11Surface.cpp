#include "platform/x11/X11Surface.h"

#include "platform/x11/OpaqueSpans.h"

#include <xcb/shape.h>

#include <algorithm>
#include <string_view>

namespace companion {

namespace {

constexpr int kFirstFrontLevel = 1000; // Two front levels exist, 1002 and 1000; both are above all windows.
constexpr std::size_t kPixelMemory = 4 << 20;

xcb_rectangle_t toRectangle(const QRect &r) {
    return {static_cast<std::int16_t>(r.x()), static_cast<std::int16_t>(r.y()),
            static_cast<std::uint16_t>(r.width()), static_cast<std::uint16_t>(r.height())};
}

bool isOpaque(Pixel pixel) {
    return pixel >> 24 == 255;
}

} // namespace

// 8 bits of alpha above 24 bits of colour.
xcb_visualid_t X11Surface::translucentVisual(const xcb_screen_t &screen, std::string &error) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth != 32)
            continue;
        for (auto i = xcb_depth_visuals_iterator(depth.data); i.rem > 0; xcb_visualtype_next(&i))
            if (i.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR && i.data->red_mask == 0xff0000 &&
                i.data->green_mask == 0xff00 && i.data->blue_mask == 0xff)
                return i.data->visual_id;
    }
    error = "the X server has no windows with an alpha channel";
    return 0;
}

std::unique_ptr<X11Surface> X11Surface::make(X11Connection &connection, X11Screens &screens,
                                             X11CompositorWatch &compositor, std::string &error) {
    const auto visual = translucentVisual(connection.screen(), error);
    if (visual == 0)
        return nullptr;
    return std::unique_ptr<X11Surface>(new X11Surface(connection, screens, compositor, visual));
}

X11Surface::X11Surface(X11Connection &connection, X11Screens &screens, X11CompositorWatch &compositor,
                       xcb_visualid_t visual)
    : m_connection(connection),
      m_screens(screens),
      m_compositor(compositor),
      m_drawn(createDrawn(visual)),
      m_catcher(createCatcher()),
      m_stacking(connection, {m_drawn, m_catcher}),
      m_shape(connection, m_drawn),
      m_painter(connection, m_drawn, kPixelMemory) {
    xcb_shape_rectangles(m_connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         m_drawn, 0, 0, 0, nullptr);
    m_shape.reset(translucent());
    shapeCatcher();
    m_screens.onChanged([this] { follow(); });
    m_compositor.onChanged([this] { startOver(); });
}

xcb_window_t X11Surface::createDrawn(xcb_visualid_t visual) {
    auto *c = m_connection.xcb();
    const auto colormap = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap, m_connection.root(), visual);
    const auto window = xcb_generate_id(c);
    const auto r = toRectangle(m_screens.mainScreen());
    const std::uint32_t values[] = {0, 0, 1, colormap}; // Background, border, override-redirect, colormap.
    xcb_create_window(
        c, 32, window, m_connection.root(), r.x, r.y, r.width, r.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
        visual, XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);

    using namespace std::string_view_literals;
    const auto setText = [&](xcb_atom_t property, xcb_atom_t type, std::string_view text) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    };
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, "presenter-companion\0presenter-companion\0"sv);
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Presenter overlay"sv);
    const auto setNumber = [&](const char *property, xcb_atom_t type, std::uint32_t value) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, m_connection.atom(property), type, 32, 1,
                            &value);
    };
    setNumber("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, m_connection.atom("_NET_WM_WINDOW_TYPE_NOTIFICATION"));
    setNumber("_COMPTON_SHADOW", XCB_ATOM_CARDINAL, 0); // A shadow would dim what the effect leaves clear.
    return window;
}

xcb_window_t X11Surface::createCatcher() {
    auto *c = m_connection.xcb();
    const auto window = xcb_generate_id(c);
    const auto r = toRectangle(m_screens.mainScreen());
    // Presses are asked for, so that a drag which began here also ends here, and motions, since they tell the
    // input monitor where the pointer is. Nothing of the mouse goes on to the root, where a window manager's
    // menu waits for clicks. Keys do: they are not ours.
    const std::uint32_t buttons = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
    const std::uint32_t motions = XCB_EVENT_MASK_POINTER_MOTION;
    const std::uint32_t values[] = {1, buttons | motions, buttons | motions | XCB_EVENT_MASK_BUTTON_MOTION};
    // In the order of the mask's bits: override-redirect, event mask, do-not-propagate mask.
    xcb_create_window(c, 0, window, m_connection.root(), r.x, r.y, r.width, r.height, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_DONT_PROPAGATE, values);
    return window;
}

void X11Surface::setLevel(int level) {
    const bool front = level >= kFirstFrontLevel;
    if (front == m_inFront) {
        if (front)
            raise();
        return;
    }
    m_inFront = front;
    auto *c = m_connection.xcb();
    shapeCatcher();
    if (front) {
        m_shape.reset(translucent()); // Before it is mapped: nothing old may flash up.
        raise();
        xcb_map_window(c, m_drawn);
        xcb_map_window(c, m_catcher);
        m_connection.flush();
        if (m_listener)
            m_listener();
    } else {
        xcb_unmap_window(c, m_catcher);
        xcb_unmap_window(c, m_drawn);
        m_connection.flush();
    }
}

void X11Surface::setTakesMouse(bool takes) {
    if (takes == m_takesMouse)
        return;
    m_takesMouse = takes;
    shapeCatcher();
    m_connection.flush();
}

// An outline for the mouse instead of mapping: a press that the catcher has taken keeps its release.
void X11Surface::shapeCatcher() {
    const auto all = toRectangle(area());
    const bool takes = m_inFront && m_takesMouse;
    xcb_shape_rectangles(m_connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         m_catcher, 0, 0, takes ? 1 : 0, &all);
}

void X11Surface::follow() {
    const auto &r = m_screens.mainScreen();
    m_shape.reset(translucent());
    const std::uint32_t values[] = {static_cast<std::uint32_t>(r.x()), static_cast<std::uint32_t>(r.y()),
                                    static_cast<std::uint32_t>(r.width()),
                                    static_cast<std::uint32_t>(r.height())};
    for (const auto window : {m_drawn, m_catcher})
        xcb_configure_window(m_connection.xcb(), window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             values);
    shapeCatcher();
    startOver();
}

void X11Surface::putRight() {
    shapeCatcher();
    startOver();
}

// Nothing of the content counts any more: everything is painted again from an empty outline.
void X11Surface::startOver() {
    m_shape.reset(translucent());
    m_connection.flush();
    if (m_listener)
        m_listener();
}

void X11Surface::present(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    if (!m_inFront)
        return;
    if (translucent())
        presentBlended(frame, paint);
    else
        presentOpaque(frame, paint);
    m_connection.flush();
}

void X11Surface::presentBlended(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    QRect occupied;
    for (const auto &r : frame.occupied)
        occupied |= r & area();
    // Effects that take the mouse follow it all over the screen.
    m_shape.cover(occupied, area(), m_takesMouse);
    if (occupied.isEmpty())
        return;
    m_painter.fill(frame.fills);
    for (const auto &patch : frame.patches) {
        const bool first = &patch == &frame.patches.front();
        if (first && frame.picture != 0 && area().contains(patch))
            m_painter.paintPicture(frame.picture, patch, paint);
        else
            m_painter.paint(patch & area(), paint, nullptr);
    }
}

// Each band is in the outline before it is sent, since what lies outside is lost.
void X11Surface::presentOpaque(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) {
    m_rectangles.clear();
    for (const auto &fill : frame.fills)
        m_rectangles.push_back(toRectangle(fill.area & area()));
    for (const auto &patch : frame.patches)
        m_rectangles.push_back(toRectangle(patch & area()));
    m_shape.remove(m_rectangles);

    m_rectangles.clear();
    for (const auto &fill : frame.fills)
        if (isOpaque(fill.pixel))
            m_rectangles.push_back(toRectangle(fill.area & area()));
    m_shape.add(m_rectangles);

    for (const auto &patch : frame.patches)
        m_painter.paint(patch & area(), paint, [this](const PixelPatch &band) {
            m_rectangles.clear();
            makeOpaque(band, m_rectangles);
            m_shape.add(m_rectangles);
            if (!m_rectangles.empty())
                m_shape.apply();
        });
    m_shape.apply();
    for (const auto &fill : frame.fills)
        if (isOpaque(fill.pixel))
            m_painter.fill({&fill, 1});
}

} // namespace companion
