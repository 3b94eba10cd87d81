#pragma once

#include "platform/ports/InputMonitor.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

#include <deque>
#include <optional>
#include <vector>

namespace companion {

class SlideKeys;

// Raw events of all master devices, which reach the root whoever has the mouse or the keyboard. They carry no
// place. While the overlay takes the mouse its own motion events follow them and do; otherwise the pointer is
// asked for, once for each lot of events.
//
// With Xwayland the root hears of X windows' events, or of none in newer versions: there the mouse is what
// our own window is told while it takes it, and the keys come from elsewhere.
class X11InputMonitor final : public InputMonitor {
public:
    enum class Source { Root, OwnWindow };

    // `keys` may be null.
    X11InputMonitor(X11Connection &connection, X11Screens &screens, Source source = Source::Root,
                    SlideKeys *keys = nullptr);
    X11InputMonitor(const X11InputMonitor &) = delete;
    X11InputMonitor &operator=(const X11InputMonitor &) = delete;

    bool available() const override { return true; }
    void addGlobalMonitor(unsigned mask, Handler handler) override;

    std::optional<Point> pointer() const override;

    void followMotion(bool follow) override;

    // The mouse is taken to be there, device pixels of the desktop, until its first motion while motions are
    // followed: it may not be known where it is.
    void assume(QPoint place);

    // The listener below is told of the next motion, whether motions are followed or not.
    void awaitMotion();

    // Told of every motion at once, with the number of the last request that came before it. Says whether it
    // needs to be told of further ones even when nobody follows them.
    void onRawMotion(std::function<bool(unsigned sequence)> listener) { m_rawMotion = std::move(listener); }

private:
    struct Monitor {
        unsigned mask;
        Handler handler;
    };

    struct Pointer {
        int x, y; // Device pixels of the desktop.
        std::uint16_t buttons;
    };

    void select(bool motions);
    void collect(const xcb_generic_event_t &event);
    void moved(const xcb_generic_event_t &event);
    void released(std::uint32_t button);
    void append(InputEventType type, int keyCode = 0);
    void deliver();
    std::optional<Pointer> askPointer() const;
    bool findPointer();

    X11Connection &m_connection;
    X11Screens &m_screens;
    const Source m_source;
    std::deque<Monitor> m_monitors; // Adding one leaves the others where they are: a handler may do it.
    unsigned m_wanted = 0;
    std::optional<Pointer> m_pointer; // Known since the last motion.
    std::vector<InputEvent> m_pending;
    std::vector<InputEvent> m_delivering;
    std::function<bool(unsigned)> m_rawMotion;
    bool m_following = false;
    bool m_hasMoved = false; // While followed.
    bool m_motionsSelected = false;
};

} // namespace companion
