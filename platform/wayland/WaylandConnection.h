#pragma once

#include "core/MainQueue.h"
#include "platform/wayland/WaylandObjects.h"

#include <QObject>
#include <QSocketNotifier>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace companion {

// The program's own connection to the compositor, apart from the one Qt may have: read through a socket
// notifier and once more before the event loop blocks.
//
// When the compositor goes away, or refuses a request, there is nothing left to do: one log line, and the
// process ends with status 1.
class WaylandConnection {
public:
    struct Global {
        std::uint32_t name;
        std::string interface;
        std::uint32_t version;
    };
    using GlobalHandler = std::function<void(const Global &)>;

    // Null, with the reason, when the compositor of the environment's WAYLAND_DISPLAY cannot be reached or
    // lacks what the overlay stands on. Waits for its answers. Each lot of events is a turn of the queue.
    static std::unique_ptr<WaylandConnection> open(MainQueue &queue, std::string &error);

    // The same for a look: without an application object, and nothing is handled but while it waits.
    static std::unique_ptr<WaylandConnection> reach(std::string &error) { return connect(nullptr, error); }

    ~WaylandConnection();
    WaylandConnection(const WaylandConnection &) = delete;
    WaylandConnection &operator=(const WaylandConnection &) = delete;

    wl_display *display() const { return m_display.get(); }
    wl_compositor *compositor() const { return m_compositor.get(); }
    wl_shm *shm() const { return m_shm.get(); }

    // Null where the compositor has none; in the highest version that both sides know.
    template <class T>
    WaylandPtr<T> bind(const wl_interface &interface, std::uint32_t version) const {
        const Global *global = find(interface.name);
        return WaylandPtr<T>(global != nullptr ? static_cast<T *>(bindGlobal(*global, interface, version))
                                               : nullptr);
    }
    bool offers(const wl_interface &interface) const { return find(interface.name) != nullptr; }

    // For those that come and go: what is there now is told at once.
    void onGlobals(const wl_interface &interface, GlobalHandler came, GlobalHandler left);
    void *bindGlobal(const Global &global, const wl_interface &interface, std::uint32_t version) const;

    // Called after each lot of events.
    void onBatchEnd(std::function<void()> hook) { m_batchEnd.push_back(std::move(hook)); }

    void flush();

    // Takes what has come off the socket while the main thread is stuck, for it to handle later: a compositor
    // ends the connection of a program that lets too much lie. Any other thread.
    void readBeside();

    // One round trip: afterwards everything that the compositor has to say so far has been handled.
    void waitUntilAnswered();

private:
    struct Disconnect {
        void operator()(wl_display *display) const { wl_display_disconnect(display); }
    };
    struct Watcher {
        std::string interface;
        GlobalHandler came, left;
    };

    WaylandConnection(MainQueue *queue, wl_display *display);

    static std::unique_ptr<WaylandConnection> connect(MainQueue *queue, std::string &error);
    const Global *find(const char *interface) const;
    void globalCame(const Global &global);
    void globalLeft(std::uint32_t name);
    void watchSocket();
    void read();
    void handleQueued();
    void endBatch();
    [[noreturn]] void end() const;

    MainQueue *m_queue;
    struct DestroyQueue {
        void operator()(wl_event_queue *queue) const { wl_event_queue_destroy(queue); }
    };
    std::unique_ptr<wl_display, Disconnect> m_display;
    std::unique_ptr<wl_event_queue, DestroyQueue> m_beside; // Nothing is ever in it.
    WaylandPtr<wl_registry> m_registry;
    std::map<std::uint32_t, Global> m_globals;
    std::vector<Watcher> m_watchers;
    std::vector<std::function<void()>> m_batchEnd;
    WaylandPtr<wl_compositor> m_compositor;
    WaylandPtr<wl_shm> m_shm;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable; // Enabled while a flush has to go on.
    QObject m_context;                           // Dies first, and the event loop's connections with it.
};

} // namespace companion
