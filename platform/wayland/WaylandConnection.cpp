#include "platform/wayland/WaylandConnection.h"

#include "core/Log.h"
#include "core/ProcessEnd.h"
#include "platform/wayland/WaylandPlatform.h"

#include <QAbstractEventDispatcher>

#include <poll.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace companion {
namespace {

constexpr std::uint32_t kCompositorVersion = 4; // From here on damage is told in the buffer's pixels.

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::connect(MainQueue *queue, std::string &error) {
    // Writing to a compositor that has gone must end in end(), not in a signal.
    std::signal(SIGPIPE, SIG_IGN);
    wl_display *display = wl_display_connect(nullptr);
    if (display == nullptr) {
        error = std::string("no Wayland compositor: ") + std::strerror(errno);
        return nullptr;
    }
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(queue, display));
    if (wl_display_roundtrip(display) < 0) {
        error = "the Wayland compositor does not let us in";
        return nullptr;
    }
    for (const wl_interface *needed :
         {&wl_compositor_interface, &wl_shm_interface, &wl_seat_interface, &wl_output_interface,
          &wp_viewporter_interface, &zwlr_layer_shell_v1_interface}) {
        if (connection->offers(*needed))
            continue;
        error = std::string("the Wayland compositor does not offer ") + needed->name;
        return nullptr;
    }
    if (connection->find(wl_compositor_interface.name)->version < kCompositorVersion) {
        error = "the Wayland compositor's wl_compositor is older than version 4";
        return nullptr;
    }
    return connection;
}

std::unique_ptr<WaylandConnection> WaylandConnection::open(MainQueue &queue, std::string &error) {
    auto connection = connect(&queue, error);
    if (!connection)
        return nullptr;
    connection->m_compositor = connection->bind<wl_compositor>(wl_compositor_interface, kCompositorVersion);
    connection->m_shm = connection->bind<wl_shm>(wl_shm_interface, 1);
    connection->watchSocket();
    return connection;
}

WaylandConnection::WaylandConnection(MainQueue *queue, wl_display *display)
    : m_queue(queue),
      m_display(display),
      m_beside(wl_display_create_queue(display)),
      m_registry(wl_display_get_registry(display)) {
    static constexpr wl_registry_listener kListener{
        .global =
            [](void *self, wl_registry *, std::uint32_t name, const char *interface, std::uint32_t version) {
                static_cast<WaylandConnection *>(self)->globalCame({name, interface, version});
            },
        .global_remove =
            [](void *self, wl_registry *, std::uint32_t name) {
                static_cast<WaylandConnection *>(self)->globalLeft(name);
            }};
    wl_registry_add_listener(m_registry.get(), &kListener, this);
}

WaylandConnection::~WaylandConnection() = default;

void WaylandConnection::watchSocket() {
    const int socket = wl_display_get_fd(display());
    m_readable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
    m_writable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Write);
    m_writable->setEnabled(false);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, &m_context, [this] { read(); });
    QObject::connect(m_writable.get(), &QSocketNotifier::activated, &m_context, [this] { flush(); });
    if (auto *dispatcher = QAbstractEventDispatcher::instance())
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &m_context,
                         [this] { handleQueued(); });
}

const WaylandConnection::Global *WaylandConnection::find(const char *interface) const {
    const auto found = std::find_if(m_globals.begin(), m_globals.end(),
                                    [&](const auto &each) { return each.second.interface == interface; });
    return found == m_globals.end() ? nullptr : &found->second;
}

void *WaylandConnection::bindGlobal(const Global &global, const wl_interface &interface,
                                    std::uint32_t version) const {
    return wl_registry_bind(m_registry.get(), global.name, &interface, std::min(global.version, version));
}

void WaylandConnection::onGlobals(const wl_interface &interface, GlobalHandler came, GlobalHandler left) {
    m_watchers.push_back({interface.name, std::move(came), std::move(left)});
    for (const auto &[name, global] : m_globals)
        if (global.interface == interface.name)
            m_watchers.back().came(global);
}

void WaylandConnection::globalCame(const Global &global) {
    m_globals.insert_or_assign(global.name, global);
    for (const Watcher &watcher : m_watchers)
        if (watcher.interface == global.interface)
            watcher.came(global);
}

void WaylandConnection::globalLeft(std::uint32_t name) {
    const auto found = m_globals.find(name);
    if (found == m_globals.end())
        return;
    const Global global = found->second;
    m_globals.erase(found);
    for (const Watcher &watcher : m_watchers)
        if (watcher.interface == global.interface)
            watcher.left(global);
}

void WaylandConnection::read() {
    const MainQueue::Turn turn(*m_queue);
    while (wl_display_prepare_read(display()) != 0)
        if (wl_display_dispatch_pending(display()) < 0)
            end();
    if (wl_display_read_events(display()) < 0 && errno != EAGAIN)
        end();
    if (wl_display_dispatch_pending(display()) < 0)
        end();
    endBatch();
}

// What came along with an answer that was waited for.
void WaylandConnection::handleQueued() {
    if (wl_display_prepare_read(display()) == 0) {
        wl_display_cancel_read(display());
        return flush();
    }
    const MainQueue::Turn turn(*m_queue);
    if (wl_display_dispatch_pending(display()) < 0)
        end();
    endBatch();
}

void WaylandConnection::endBatch() {
    for (const auto &hook : m_batchEnd)
        hook();
    flush();
}

void WaylandConnection::flush() {
    const bool all = wl_display_flush(display()) >= 0;
    if (!all && errno != EAGAIN)
        end();
    if (m_writable && m_writable->isEnabled() == all)
        m_writable->setEnabled(!all);
}

void WaylandConnection::readBeside() {
    if (wl_display_prepare_read_queue(display(), m_beside.get()) != 0)
        return;
    pollfd socket{wl_display_get_fd(display()), POLLIN, 0};
    if (poll(&socket, 1, 0) > 0)
        wl_display_read_events(display()); // A failure is for the main thread to find.
    else
        wl_display_cancel_read(display());
}

void WaylandConnection::waitUntilAnswered() {
    if (wl_display_roundtrip(display()) < 0)
        end();
}

void WaylandConnection::end() const {
    const wl_interface *interface = nullptr;
    if (wl_display_get_error(display()) == EPROTO) {
        const std::uint32_t code = wl_display_get_protocol_error(display(), &interface, nullptr);
        Log::format("the Wayland compositor refused a request of ours (%s, error %u); the program ends",
                    interface != nullptr ? interface->name : "unknown object", code);
        ProcessEnd::with(1);
    }
    endWithoutCompositor();
}

} // namespace companion
