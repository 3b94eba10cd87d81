#include "platform/wayland/WaylandCapture.h"

#include "core/Log.h"
#include "platform/ports/DesktopPictures.h"
#include "platform/wayland/WaylandCopyRequest.h"
#include "platform/wayland/WaylandSessionRequest.h"

#include <QTransform>

#include <utility>

namespace companion {
namespace {

constexpr std::uint32_t kCopiesVersion = 1;
constexpr std::size_t kMostOpen = 4;

// Pictures come as the hardware scans them out; the user may have turned the screen.
QImage upright(const QImage &picture, int transform) {
    if (transform == WL_OUTPUT_TRANSFORM_NORMAL || picture.isNull())
        return picture;
    QTransform turn;
    if (transform >= WL_OUTPUT_TRANSFORM_FLIPPED)
        turn.scale(-1, 1);
    turn.rotate(90.0 * (transform % WL_OUTPUT_TRANSFORM_FLIPPED));
    return picture.transformed(turn);
}

} // namespace

WaylandCapture::WaylandCapture(WaylandConnection &connection, MainQueue &queue, WaylandOutputs &outputs,
                               DesktopPictures *other)
    : m_connection(connection),
      m_queue(queue),
      m_outputs(outputs),
      m_other(other),
      m_sessions(
          connection.bind<ext_image_copy_capture_manager_v1>(ext_image_copy_capture_manager_v1_interface, 1)),
      m_sources(connection.bind<ext_output_image_capture_source_manager_v1>(
          ext_output_image_capture_source_manager_v1_interface, 1)),
      m_copies(
          connection.bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, kCopiesVersion)) {
    if (!available())
        Log::line("the compositor gives no pictures of the screen: the magnifier stays empty");
}

WaylandCapture::~WaylandCapture() = default;

bool WaylandCapture::isOurs() const {
    return (m_sessions && m_sources) || m_copies;
}

DesktopPictures::Place WaylandCapture::place(const WaylandOutput &output) const {
    return {output.name, output.logical, m_outputs.desktop(), output.pixels()};
}

bool WaylandCapture::available() const {
    return isOurs() || m_other != nullptr;
}

void WaylandCapture::captureDesktop(Done done) {
    const WaylandOutput *output = m_outputs.current();
    if (!available() || output == nullptr)
        return done(QImage());
    if (!isOurs())
        return m_other->take(place(*output), std::move(done));
    if (m_open.size() == kMostOpen) // A compositor that does not answer is not to fill the memory.
        finish(m_open.begin()->first, {});
    const std::uint64_t number = ++m_last;
    const auto finished =
        m_lifetime.guard([this, number](const QImage &picture) { finish(number, picture); });
    std::unique_ptr<Request> request;
    if (m_sessions && m_sources)
        request = std::make_unique<WaylandSessionRequest>(m_connection.shm(), m_sessions.get(),
                                                          m_sources.get(), output->output.get(), finished);
    else
        request = std::make_unique<WaylandCopyRequest>(m_connection.shm(), m_copies.get(),
                                                       output->output.get(), finished);
    m_open.emplace(number, Open{std::move(done), output->transform, std::move(request)});
    m_connection.flush();
}

// On a later turn: the request is in the middle of telling.
void WaylandCapture::finish(std::uint64_t number, const QImage &picture) {
    m_queue.post(std::chrono::milliseconds(0), m_lifetime.guard([this, number, picture] {
        const auto found = m_open.find(number);
        if (found == m_open.end())
            return;
        const Open open = std::move(found->second);
        m_open.erase(found);
        open.done(upright(picture, open.transform));
    }));
}

void WaylandCapture::probe() {
    const WaylandOutput *output = m_outputs.current();
    if (output != nullptr && m_other != nullptr && !isOurs())
        m_other->probe(place(*output));
}

} // namespace companion
