#include "support/rig/TestWindow.h"

#include <algorithm>
#include <array>

namespace companion::rig {
namespace {

constexpr std::uint32_t kEvents = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                  XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE |
                                  XCB_EVENT_MASK_EXPOSURE;

// The left pointer of the cursor font.
xcb_cursor_t arrow(xcb_connection_t *connection) {
    constexpr std::uint16_t kLeftPointer = 68;
    const xcb_font_t font = xcb_generate_id(connection);
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    xcb_open_font(connection, font, 6, "cursor");
    xcb_create_glyph_cursor(connection, cursor, font, font, kLeftPointer, kLeftPointer + 1, 0, 0, 0, 0xFFFF,
                            0xFFFF, 0xFFFF);
    return cursor;
}

} // namespace

TestWindow::TestWindow(const Desktop &desktop, Kind kind, QRgb colour, const QRect &geometry)
    : m_wayland(desktop.wayland()),
      m_connection(desktop.display()),
      m_window(m_wayland != nullptr ? xcb_window_t{XCB_WINDOW_NONE} : xcb_generate_id(m_connection)) {
    if (m_wayland != nullptr) {
        QImage plain(1, 1, QImage::Format_RGB32);
        plain.fill(colour);
        m_wayland->client().showSlide(plain);
        waitUntil("a slide with the focus", [this] { return focused(); });
        return;
    }
    const bool fullScreen = kind == Kind::FullScreen;
    const QRect place = fullScreen ? QRect(QPoint(0, 0), desktop.size()) : geometry;
    const std::array<std::uint32_t, 4> values{colour & 0xFFFFFFU, kind == Kind::OverrideRedirect, kEvents,
                                              arrow(m_connection)};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_connection.root(),
                      static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()),
                      static_cast<std::uint16_t>(place.width()), static_cast<std::uint16_t>(place.height()),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_CURSOR,
                      values.data());
    if (fullScreen) {
        const xcb_atom_t state = m_connection.atom("_NET_WM_STATE_FULLSCREEN");
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, m_connection.atom("_NET_WM_STATE"),
                            XCB_ATOM_ATOM, 32, 1, &state);
    }
    // WM_NORMAL_HINTS with the flag "position by the user": the window manager leaves it there.
    const std::array<std::uint32_t, 18> hints{1};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
    xcb_map_window(m_connection, m_window);
    m_connection.sync();
    waitUntil("a test window on the screen", [&] {
        readEvents();
        const QRect now = m_connection.areaOf(m_window);
        // A frame may move a managed window by its own width.
        return m_exposed && (kind == Kind::Managed ? now.size() == place.size() : now == place);
    });
    if (kind != Kind::OverrideRedirect)
        waitUntil("a test window with the focus", [this] { return focused(); });
}

TestWindow::~TestWindow() {
    if (m_wayland != nullptr)
        return;
    xcb_destroy_window(m_connection, m_window);
    m_connection.sync();
}

void TestWindow::setPicture(const QImage &picture) {
    if (m_wayland != nullptr)
        return m_wayland->client().showSlide(picture);
    const QImage pixels = picture.convertToFormat(QImage::Format_RGB32);
    const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    const auto width = static_cast<std::uint16_t>(pixels.width());
    const auto height = static_cast<std::uint16_t>(pixels.height());
    const auto depth = m_connection.screen().root_depth;
    xcb_create_pixmap(m_connection, depth, pixmap, m_window, width, height);
    xcb_create_gc(m_connection, context, pixmap, 0, nullptr);
    xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, height, 0, 0, 0, depth,
                  static_cast<std::uint32_t>(pixels.sizeInBytes()), pixels.constBits());
    xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_clear_area(m_connection, 0, m_window, 0, 0, 0, 0);
    xcb_free_gc(m_connection, context);
    xcb_free_pixmap(m_connection, pixmap);
    m_connection.sync();
}

void TestWindow::fill(const QRect &area, QRgb colour) {
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    const std::uint32_t foreground = colour & 0xFFFFFFU;
    const xcb_rectangle_t rectangle{static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                                    static_cast<std::uint16_t>(area.width()),
                                    static_cast<std::uint16_t>(area.height())};
    xcb_create_gc(m_connection, context, m_window, XCB_GC_FOREGROUND, &foreground);
    xcb_poly_fill_rectangle(m_connection, m_window, context, 1, &rectangle);
    xcb_free_gc(m_connection, context);
    m_connection.sync();
}

void TestWindow::raise() {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    m_connection.sync();
}

const std::vector<TestWindow::Button> &TestWindow::buttons() {
    if (m_wayland != nullptr)
        return m_wayland->client().buttons();
    readEvents();
    return m_buttons;
}

bool TestWindow::pressedAt(QPoint at) {
    const auto &all = buttons();
    return std::any_of(all.begin(), all.end(), [&](const Button &b) { return b.press && b.at == at; });
}

bool TestWindow::focused() {
    if (m_wayland != nullptr)
        return m_wayland->client().hasKeyboard();
    readEvents();
    return m_focused;
}

const std::vector<std::uint8_t> &TestWindow::keysPressed() {
    if (m_wayland != nullptr)
        return m_wayland->client().keys();
    readEvents();
    return m_keys;
}

void TestWindow::forget() {
    if (m_wayland != nullptr)
        return m_wayland->client().forget();
    m_connection.sync();
    readEvents();
    m_buttons.clear();
    m_keys.clear();
}

void TestWindow::readEvents() {
    while (const XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        const int type = event->response_type & 0x7F;
        switch (type) {
        case XCB_BUTTON_PRESS:
        case XCB_BUTTON_RELEASE: {
            const auto *button = reinterpret_cast<const xcb_button_press_event_t *>(event.get());
            m_buttons.push_back(
                {type == XCB_BUTTON_PRESS, button->detail, QPoint(button->root_x, button->root_y)});
            break;
        }
        case XCB_KEY_PRESS:
            m_keys.push_back(reinterpret_cast<const xcb_key_press_event_t *>(event.get())->detail);
            break;
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT: {
            // Only what happens to this very window: not the pointer's, not that of a passing grab.
            const auto *focus = reinterpret_cast<const xcb_focus_in_event_t *>(event.get());
            if (focus->detail != XCB_NOTIFY_DETAIL_POINTER && focus->mode != XCB_NOTIFY_MODE_GRAB)
                m_focused = type == XCB_FOCUS_IN;
            break;
        }
        case XCB_EXPOSE:
            m_exposed = true;
            break;
        default:
            break;
        }
    }
}

} // namespace companion::rig
