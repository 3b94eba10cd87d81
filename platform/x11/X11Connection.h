#pragma once

#include "core/MainQueue.h"

#include <QObject>
#include <QSocketNotifier>

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace companion {

struct FreeReply {
    // Replies and events come from malloc.
    void operator()(void *reply) const { std::free(reply); } // NOLINT(cppcoreguidelines-owning-memory)
};
template <class T>
using X11Reply = std::unique_ptr<T, FreeReply>;

// The program's own connection to the X server, apart from the one Qt may have: read through a socket
// notifier and once more before the event loop blocks, so that events which came along with a reply never
// wait.
//
// When the server goes away there is nothing left to do: one log line, and the process ends with status 1.
class X11Connection {
public:
    // What the server can do beyond what the program cannot do without.
    struct Extensions {
        std::uint8_t xfixesEvent = 0;
        std::uint8_t randrEvent = 0; // 0: no list of monitors, or none that is current.
        std::uint8_t xinputOpcode = 0;
        bool xtest = false;
        bool composite = false;
        bool sharedMemory = false; // By passing a descriptor, so never with a remote server.
    };

    using EventHandler = std::function<void(const xcb_generic_event_t &)>;

    // A bare connection and the number of its default screen; null, with the reason, when the server cannot
    // be reached.
    struct Link {
        std::shared_ptr<xcb_connection_t> xcb;
        int screenNumber = 0;
    };
    static Link connect(const std::string &displayName, std::string &error);
    // Whether the server at its other end has what the overlay stands on; `error` says what it lacks.
    static bool suffices(const Link &link, std::string &error) { return askServer(link, error).has_value(); }

    // Null, with the reason, when the server cannot be reached or lacks what the overlay stands on. An empty
    // name means the DISPLAY of the environment. Each lot of events is a turn of the queue.
    static std::unique_ptr<X11Connection> open(MainQueue &queue, const std::string &displayName,
                                               std::string &error);

    X11Connection(const X11Connection &) = delete;
    X11Connection &operator=(const X11Connection &) = delete;

    xcb_connection_t *xcb() const { return m_xcb.get(); }
    const std::shared_ptr<xcb_connection_t> &shared() const { return m_xcb; }
    Link link() const { return {m_xcb, m_screenNumber}; }
    const xcb_screen_t &screen() const { return *m_screen; }
    xcb_window_t root() const { return m_screen->root; }
    int screenNumber() const { return m_screenNumber; }
    const Extensions &extensions() const { return m_extensions; }

    xcb_atom_t atom(const char *name);

    // Handlers of one type run in the order in which they came; events without any are dropped.
    void onEvent(std::uint8_t type, EventHandler handler);

    // Asks for these kinds of the root's events besides those asked for before, or no longer for them.
    void askRootFor(std::uint32_t eventMask, bool wanted = true);

    // Called after each lot of events.
    void onBatchEnd(std::function<void()> hook) { m_batchEnd.push_back(std::move(hook)); }

    // Handles what has already been read from the server, without a system call and without the batch's end.
    void dispatchQueued();

    void flush();

    // Ends the process if the server has gone: to be called when a reply is missing.
    void checkAlive() const;

    // Whether the server has certainly carried out the request with this number: it has answered a later one,
    // or sent an event since. (Events are numbered with the last request before them, and come between
    // requests.)
    bool processed(unsigned sequence) const { return static_cast<std::int32_t>(m_seen - sequence) >= 0; }
    void sawReplyTo(unsigned sequence);

    // One round trip: afterwards everything asked for so far has been carried out.
    void waitUntilProcessed();

private:
    X11Connection(MainQueue &queue, const Link &link, const Extensions &extensions);

    static std::optional<Extensions> askServer(const Link &link, std::string &error);
    void read();
    void readBeforeBlocking();
    void endBatch();
    void dispatch(const xcb_generic_event_t &event);
    void logError(const xcb_generic_event_t &event);

    MainQueue &m_queue;
    std::shared_ptr<xcb_connection_t> m_xcb;
    xcb_screen_t *m_screen;
    int m_screenNumber;
    const Extensions m_extensions;
    std::array<std::vector<EventHandler>, 128> m_handlers;
    std::uint32_t m_rootEvents = 0;
    std::vector<std::function<void()>> m_batchEnd;
    unsigned m_seen = 0;
    unsigned m_lastError = 0;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QObject m_context; // Dies first, and the event loop's connections with it.
};

// The default screen of that server.
xcb_screen_t &screenOf(const X11Connection::Link &link);

} // namespace companion
