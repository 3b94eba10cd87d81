#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace companion::rig {

// Replies and events of XCB are freed with free().
struct XcbFree {
    void operator()(void *memory) const { std::free(memory); }
};
template <class T>
using XcbPtr = std::unique_ptr<T, XcbFree>;

// One client of an X server.
class XConnection {
public:
    // Throws when the server cannot be reached.
    // An empty name: none; nothing may be asked of it then.
    explicit XConnection(const std::string &display);
    ~XConnection();
    XConnection(const XConnection &) = delete;
    XConnection &operator=(const XConnection &) = delete;

    operator xcb_connection_t *() const { return m_connection; }
    const xcb_screen_t &screen() const { return *m_screen; }
    xcb_window_t root() const { return m_screen->root; }

    // What the server answers to a request; null for an error.
    template <class Reply, class Cookie>
    XcbPtr<Reply> reply(Reply *(*take)(xcb_connection_t *, Cookie, xcb_generic_error_t **),
                        Cookie cookie) const {
        return XcbPtr<Reply>(take(m_connection, cookie, nullptr));
    }

    xcb_atom_t atom(const std::string &name) const;
    xcb_window_t selectionOwner(const std::string &selection) const;
    // The first window that a property of the root names; none if it is not there.
    xcb_window_t rootWindowProperty(const std::string &name) const;
    // The first 256 bytes of a property of any kind; nothing if it is not there.
    std::string property(xcb_window_t window, const std::string &name) const;
    // From the bottom up; with where they lie in turn.
    std::vector<xcb_window_t> childrenOf(xcb_window_t window, xcb_window_t *parent = nullptr) const;
    bool isShown(xcb_window_t window) const;
    // What a window covers on the screen, without its frame.
    QRect areaOf(xcb_window_t window) const;
    QPoint pointer() const;
    QSize screenSize() const { return areaOf(root()).size(); }
    // Returns when the server has carried out every request so far.
    void sync() const;

private:
    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen = nullptr;
};

} // namespace companion::rig
