#include "x11/XRig.h"

#include <QCoreApplication>
#include <QTimer>

#include <xcb/shape.h>
#include <xcb/xtest.h>

#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace companion {

ChildProcess::ChildProcess(const std::vector<std::string> &command, int descriptorToKeep) {
    std::vector<char *> arguments;
    for (const auto &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    m_pid = fork();
    if (m_pid != 0)
        return;
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int standard : {0, 1, 2})
        if (standard != descriptorToKeep)
            dup2(nothing, standard);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

void ChildProcess::kill() {
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    m_pid = 0;
}

XServer::XServer(const std::vector<std::string> &options, const std::string &screen) {
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    std::vector<std::string> command{"Xvfb",     "-displayfd", std::to_string(ends[1]),
                                     "-noreset", "-nolisten",  "tcp",
                                     "-screen",  "0",          screen};
    command.insert(command.end(), options.begin(), options.end());
    m_process = std::make_unique<ChildProcess>(command, ends[1]);
    ::close(ends[1]);
    std::string number;
    for (char c = 0; ::read(ends[0], &c, 1) == 1 && c != '\n';)
        number += c;
    ::close(ends[0]);
    if (number.empty())
        throw std::runtime_error("Xvfb did not start");
    m_displayName = ":" + number;
}

bool XServer::run(std::vector<std::string> command) const {
    command.insert(command.begin(), {"env", "DISPLAY=" + m_displayName});
    ChildProcess process(command);
    int status = 0;
    return waitpid(process.pid(), &status, 0) > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

XClient::XClient(const XServer &server)
    : m_xcb(xcb_connect(server.displayName().c_str(), nullptr), xcb_disconnect),
      m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_xcb.get())).data),
      m_owner(xcb_generate_id(xcb())) {
    xcb_create_window(xcb(), 0, m_owner, root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0, nullptr);
}

xcb_window_t XClient::window(const QRect &area, std::uint32_t colour) {
    const auto id = xcb_generate_id(xcb());
    const std::uint32_t values[] = {colour, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(xcb(), XCB_COPY_FROM_PARENT, id, root(), static_cast<std::int16_t>(area.x()),
                      static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, 0,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    xcb_map_window(xcb(), id);
    sync();
    return id;
}

void XClient::raise(xcb_window_t window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

void XClient::noteClicksOn(xcb_window_t window) {
    const std::uint32_t mask = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
    xcb_change_window_attributes(xcb(), window, XCB_CW_EVENT_MASK, &mask);
    sync();
}

std::vector<XClient::Click> XClient::clicks() {
    sync();
    while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(xcb())}) {
        const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
        if (type != XCB_BUTTON_PRESS && type != XCB_BUTTON_RELEASE)
            continue;
        const auto &button = reinterpret_cast<const xcb_button_press_event_t &>(*event);
        m_clicks.push_back({button.event, type, button.detail});
    }
    return std::exchange(m_clicks, {});
}

void XClient::move(int x, int y) {
    xcb_test_fake_input(xcb(), XCB_MOTION_NOTIFY, 0, 0, root(), static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y), 0);
    sync();
}

void XClient::press(int button, bool down) {
    xcb_test_fake_input(xcb(), down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                        static_cast<std::uint8_t>(button), 0, root(), 0, 0, 0);
    sync();
}

void XClient::click(int button) {
    press(button);
    press(button, false);
}

void XClient::key(int keycode, bool down) {
    xcb_test_fake_input(xcb(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, static_cast<std::uint8_t>(keycode), 0,
                        root(), 0, 0, 0);
    sync();
}

QImage XClient::picture(xcb_drawable_t drawable, const QRect &area) {
    QImage image(area.size(), QImage::Format_ARGB32_Premultiplied);
    const X11Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        xcb(),
        xcb_get_image(xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(area.x()),
                      static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), ~0u),
        nullptr));
    if (!reply)
        return {};
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()), static_cast<std::size_t>(image.sizeInBytes()));
    return image;
}

xcb_window_t XClient::overlayWindow(int windowClass) {
    for (const auto window : stack()) {
        const X11Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(xcb(), xcb_get_window_attributes(xcb(), window), nullptr));
        if (attributes && attributes->override_redirect && attributes->_class == windowClass)
            return window;
    }
    return 0;
}

bool XClient::isMapped(xcb_window_t window) {
    const X11Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(xcb(), xcb_get_window_attributes(xcb(), window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

QRect XClient::geometry(xcb_window_t window) {
    const X11Reply<xcb_get_geometry_reply_t> g(
        xcb_get_geometry_reply(xcb(), xcb_get_geometry(xcb(), window), nullptr));
    return g ? QRect(g->x, g->y, g->width, g->height) : QRect();
}

std::vector<QRect> XClient::shape(xcb_window_t window, int kind) {
    const X11Reply<xcb_shape_get_rectangles_reply_t> reply(xcb_shape_get_rectangles_reply(
        xcb(), xcb_shape_get_rectangles(xcb(), window, static_cast<xcb_shape_kind_t>(kind)), nullptr));
    std::vector<QRect> found;
    const auto *r = xcb_shape_get_rectangles_rectangles(reply.get());
    for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(reply.get()); ++i)
        found.emplace_back(r[i].x, r[i].y, r[i].width, r[i].height);
    return found;
}

std::vector<xcb_window_t> XClient::stack() {
    const X11Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(xcb(), xcb_query_tree(xcb(), root()), nullptr));
    const auto *windows = xcb_query_tree_children(tree.get());
    return {windows, windows + xcb_query_tree_children_length(tree.get())};
}

xcb_window_t XClient::focus() {
    const X11Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(xcb(), xcb_get_input_focus(xcb()), nullptr));
    return reply->focus;
}

void XClient::pretendCompositor(bool runs) {
    xcb_set_selection_owner(xcb(), runs ? m_owner : XCB_NONE, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    sync();
}

void XClient::sync() {
    focus();
}

xcb_atom_t XClient::atom(const std::string &name) {
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        xcb(), xcb_intern_atom(xcb(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr));
    return reply->atom;
}

bool eventually(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    QTimer tick;
    tick.start(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        // Blocking, as the program's own loop does.
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace companion
