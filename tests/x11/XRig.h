#pragma once

#include "platform/x11/X11Connection.h"

#include <QImage>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace companion {

// A program that the test started; ended by its process id.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string> &command, int descriptorToKeep = -1);
    ~ChildProcess() { kill(); }
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    void kill();
    pid_t pid() const { return m_pid; }

private:
    pid_t m_pid;
};

// An X server of the test's own.
class XServer {
public:
    explicit XServer(const std::vector<std::string> &options = {},
                     const std::string &screen = "1920x1080x24");

    const std::string &displayName() const { return m_displayName; }
    void kill() { m_process->kill(); }
    // Runs an X program to its end; true if it succeeded.
    bool run(std::vector<std::string> command) const;

private:
    std::unique_ptr<ChildProcess> m_process;
    std::string m_displayName;
};

// Somebody else's program on that server: windows below the overlay, real input, and the picture on screen.
class XClient {
public:
    struct Click {
        xcb_window_t window;
        std::uint8_t type; // XCB_BUTTON_PRESS or XCB_BUTTON_RELEASE.
        int button;
        bool operator==(const Click &) const = default;
    };

    explicit XClient(const XServer &server);

    xcb_connection_t *xcb() const { return m_xcb.get(); }
    xcb_window_t root() const { return m_screen->root; }

    // Mapped, of one colour, and noting clicks.
    xcb_window_t window(const QRect &area, std::uint32_t colour);
    void raise(xcb_window_t window);
    void noteClicksOn(xcb_window_t window);
    std::vector<Click> clicks();

    void move(int x, int y);
    void press(int button, bool down = true);
    void click(int button = 1);
    void key(int keycode, bool down = true);

    // What is on screen (the root), or a window's own content.
    QImage picture(xcb_drawable_t drawable, const QRect &area);
    std::uint32_t pixel(int x, int y) { return picture(root(), QRect(x, y, 1, 1)).pixel(0, 0) & 0xffffff; }

    // The overlay's two windows.
    xcb_window_t drawn() { return overlayWindow(XCB_WINDOW_CLASS_INPUT_OUTPUT); }
    xcb_window_t catcher() { return overlayWindow(XCB_WINDOW_CLASS_INPUT_ONLY); }
    bool isMapped(xcb_window_t window);
    QRect geometry(xcb_window_t window);
    std::vector<QRect> shape(xcb_window_t window, int kind); // XCB_SHAPE_SK_…
    std::vector<xcb_window_t> stack();                       // From the bottom up.
    xcb_window_t focus();

    // Makes the server believe that a compositor runs, or ends that.
    void pretendCompositor(bool runs);

    void sync();

private:
    xcb_window_t overlayWindow(int windowClass);
    xcb_atom_t atom(const std::string &name);

    std::shared_ptr<xcb_connection_t> m_xcb;
    xcb_screen_t *m_screen;
    xcb_window_t m_owner;
    std::vector<Click> m_clicks;
};

// Runs the event loop until the condition holds; false after five seconds.
bool eventually(const std::function<bool()> &condition);

} // namespace companion
