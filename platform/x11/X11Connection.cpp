#include "platform/x11/X11Connection.h"

#include "core/Log.h"
#include "core/ProcessEnd.h"

#include <QAbstractEventDispatcher>

#include <xcb/composite.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shape.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <bit>
#include <csignal>
#include <cstring>
#include <string_view>

#include <sys/socket.h>

namespace companion {

namespace {

// Descriptors can be passed over a local socket only; on any other the attempt would break the connection.
bool isLocal(xcb_connection_t *xcb) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(xcb_get_file_descriptor(xcb), reinterpret_cast<sockaddr *>(&address), &length) != 0)
        return false;
    return address.ss_family == AF_UNIX;
}

bool sameByteOrder(xcb_connection_t *xcb) {
    const bool serverLittle = xcb_get_setup(xcb)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    return serverLittle == (std::endian::native == std::endian::little);
}

} // namespace

xcb_screen_t &screenOf(const X11Connection::Link &link) {
    auto iterator = xcb_setup_roots_iterator(xcb_get_setup(link.xcb.get()));
    for (int number = link.screenNumber; number > 0 && iterator.rem > 1; --number)
        xcb_screen_next(&iterator);
    return *iterator.data;
}

X11Connection::Link X11Connection::connect(const std::string &displayName, std::string &error) {
    Link link;
    const char *name = displayName.empty() ? nullptr : displayName.c_str();
    link.xcb = {xcb_connect(name, &link.screenNumber), xcb_disconnect};
    if (xcb_connection_has_error(link.xcb.get()) == 0)
        return link;
    const char *environment = std::getenv("DISPLAY");
    const std::string tried = name ? name : (environment ? environment : "");
    error = tried.empty() ? "no X server: DISPLAY is not set" : "cannot reach the X server '" + tried + "'";
    return {};
}

std::unique_ptr<X11Connection> X11Connection::open(MainQueue &queue, const std::string &displayName,
                                                   std::string &error) {
    // Writing to a server that has gone must end in checkAlive(), not in a signal.
    std::signal(SIGPIPE, SIG_IGN);

    const Link link = connect(displayName, error);
    if (!link.xcb)
        return nullptr;
    const auto extensions = askServer(link, error);
    if (!extensions)
        return nullptr;
    return std::unique_ptr<X11Connection>(new X11Connection(queue, link, *extensions));
}

X11Connection::X11Connection(MainQueue &queue, const Link &link, const Extensions &extensions)
    : m_queue(queue),
      m_xcb(link.xcb),
      m_screen(&screenOf(link)),
      m_screenNumber(link.screenNumber),
      m_extensions(extensions),
      m_notifier(
          std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_xcb.get()), QSocketNotifier::Read)) {
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &m_context, [this] { read(); });
    if (auto *dispatcher = QAbstractEventDispatcher::instance())
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &m_context,
                         [this] { readBeforeBlocking(); });
}

std::optional<X11Connection::Extensions> X11Connection::askServer(const Link &link, std::string &error) {
    auto *c = link.xcb.get();
    if (!sameByteOrder(c)) {
        error = "the X server's byte order is not this machine's";
        return std::nullopt;
    }
    xcb_extension_t *const all[] = {&xcb_xfixes_id, &xcb_shape_id, &xcb_render_id,    &xcb_input_id,
                                    &xcb_test_id,   &xcb_randr_id, &xcb_composite_id, &xcb_shm_id};
    for (auto *extension : all)
        xcb_prefetch_extension_data(c, extension);
    const auto present = [c](xcb_extension_t &extension) -> const xcb_query_extension_reply_t * {
        const auto *reply = xcb_get_extension_data(c, &extension);
        return reply && reply->present ? reply : nullptr;
    };
    const auto *xfixes = present(xcb_xfixes_id);
    const auto *xinput = present(xcb_input_id);
    const bool shape = present(xcb_shape_id) != nullptr;
    if (!xfixes || !xinput || !shape || !present(xcb_render_id)) {
        error = "the X server lacks the extension ";
        error += !xfixes ? "XFIXES" : (!xinput ? "XInputExtension" : (!shape ? "SHAPE" : "RENDER"));
        return std::nullopt;
    }

    // All asked before any is read: one round trip.
    const auto *randr = present(xcb_randr_id);
    const bool shm = present(xcb_shm_id) && isLocal(c);
    const auto xfixesCookie = xcb_xfixes_query_version(c, 5, 0);
    const auto xinputCookie = xcb_input_xi_query_version(c, 2, 2); // 2.0 sees nothing under grabs.
    const auto randrCookie = randr ? xcb_randr_query_version(c, 1, 5) : xcb_randr_query_version_cookie_t{};
    const auto shmCookie = shm ? xcb_shm_query_version(c) : xcb_shm_query_version_cookie_t{};
    const X11Reply<xcb_xfixes_query_version_reply_t> xfixesVersion(
        xcb_xfixes_query_version_reply(c, xfixesCookie, nullptr));
    const X11Reply<xcb_input_xi_query_version_reply_t> xinputVersion(
        xcb_input_xi_query_version_reply(c, xinputCookie, nullptr));
    if (!xfixesVersion || xfixesVersion->major_version < 4) {
        error = "the X server's XFIXES extension is older than 4.0";
        return std::nullopt;
    }
    if (!xinputVersion || xinputVersion->major_version < 2 ||
        (xinputVersion->major_version == 2 && xinputVersion->minor_version < 2)) {
        error = "the X server's XInputExtension is older than 2.2";
        return std::nullopt;
    }
    Extensions extensions;
    extensions.xfixesEvent = xfixes->first_event;
    extensions.xinputOpcode = xinput->major_opcode;
    extensions.xtest = present(xcb_test_id) != nullptr;
    extensions.composite = present(xcb_composite_id) != nullptr;
    if (randr) {
        const X11Reply<xcb_randr_query_version_reply_t> version(
            xcb_randr_query_version_reply(c, randrCookie, nullptr));
        if (version && version->major_version == 1 && version->minor_version >= 5)
            extensions.randrEvent = randr->first_event;
    }
    if (shm) {
        const X11Reply<xcb_shm_query_version_reply_t> version(
            xcb_shm_query_version_reply(c, shmCookie, nullptr));
        extensions.sharedMemory = version && (version->major_version > 1 || version->minor_version >= 2);
    }
    return extensions;
}

xcb_atom_t X11Connection::atom(const char *name) {
    const auto length = static_cast<std::uint16_t>(std::strlen(name));
    const X11Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(xcb(), xcb_intern_atom(xcb(), 0, length, name), nullptr));
    if (!reply)
        checkAlive();
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void X11Connection::onEvent(std::uint8_t type, EventHandler handler) {
    m_handlers.at(type).push_back(std::move(handler));
}

void X11Connection::askRootFor(std::uint32_t eventMask, bool wanted) {
    m_rootEvents = wanted ? m_rootEvents | eventMask : m_rootEvents & ~eventMask;
    xcb_change_window_attributes(xcb(), root(), XCB_CW_EVENT_MASK, &m_rootEvents);
}

// All that has come is one lot, so that a program that fell behind catches up with one painting. What a
// server that never pauses sends beyond that wakes the notifier again.
void X11Connection::read() {
    const MainQueue::Turn turn(m_queue);
    constexpr int mostReads = 64; // Of the socket, each 4 KiB at most.
    for (int i = 0; i < mostReads; ++i) {
        const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(xcb())};
        if (!event)
            break;
        dispatch(*event);
        dispatchQueued();
    }
    checkAlive();
    endBatch();
}

void X11Connection::readBeforeBlocking() {
    const X11Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(xcb())};
    if (!event) {
        flush();
        return;
    }
    const MainQueue::Turn turn(m_queue);
    dispatch(*event);
    dispatchQueued();
    endBatch();
}

void X11Connection::endBatch() {
    for (const auto &hook : m_batchEnd)
        hook();
    flush();
}

void X11Connection::dispatchQueued() {
    while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(xcb())})
        dispatch(*event);
}

void X11Connection::dispatch(const xcb_generic_event_t &event) {
    sawReplyTo(event.full_sequence);
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7f); // The top bit: sent by a client.
    if (type == 0)
        return logError(event);
    for (const auto &handler : m_handlers[type])
        handler(event);
}

// A refused request is a fault of ours or a race with a changing screen; repeated ones are told once.
void X11Connection::logError(const xcb_generic_event_t &event) {
    xcb_generic_error_t error{};
    std::memcpy(&error, &event, sizeof error);
    const unsigned identity =
        (unsigned{error.major_code} << 24) | (unsigned{error.error_code} << 16) | error.minor_code;
    if (identity == m_lastError)
        return;
    m_lastError = identity;
    Log::format("the X server refused a request (%d.%d, error %d)", error.major_code, error.minor_code,
                error.error_code);
}

void X11Connection::flush() {
    if (xcb_flush(xcb()) <= 0)
        checkAlive();
}

void X11Connection::checkAlive() const {
    if (xcb_connection_has_error(xcb()) == 0)
        return;
    Log::line("the X server has gone; the program ends");
    ProcessEnd::with(1);
}

void X11Connection::sawReplyTo(unsigned sequence) {
    if (static_cast<std::int32_t>(sequence - m_seen) > 0)
        m_seen = sequence;
}

void X11Connection::waitUntilProcessed() {
    const auto cookie = xcb_get_input_focus(xcb()); // The cheapest request that has a reply.
    const X11Reply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(xcb(), cookie, nullptr));
    if (!reply)
        checkAlive();
    sawReplyTo(cookie.sequence);
}

} // namespace companion
