#pragma once

#include "core/Lifetime.h"
#include "platform/ports/DesktopPictures.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandOutputs.h"

#include <map>
#include <memory>

namespace companion {

// Still pictures of the overlay's screen by whatever the compositor has for it, the newer protocol first;
// else by `other`, which may be null: then there are none. The cursor is never in them.
class WaylandCapture final : public ScreenCapture {
public:
    using Done = std::function<void(const QImage &)>;

    // One picture that is being taken.
    class Request {
    public:
        virtual ~Request() = default;
    };

    WaylandCapture(WaylandConnection &connection, MainQueue &queue, WaylandOutputs &outputs,
                   DesktopPictures *other);
    ~WaylandCapture() override;

    bool available() const override;
    void captureDesktop(Done done) override;
    void probe() override;

private:
    bool isOurs() const;
    DesktopPictures::Place place(const WaylandOutput &output) const;
    void finish(std::uint64_t number, const QImage &picture);

    WaylandConnection &m_connection;
    MainQueue &m_queue;
    WaylandOutputs &m_outputs;
    DesktopPictures *m_other;
    WaylandPtr<ext_image_copy_capture_manager_v1> m_sessions;
    WaylandPtr<ext_output_image_capture_source_manager_v1> m_sources;
    WaylandPtr<zwlr_screencopy_manager_v1> m_copies;

    struct Open {
        Done done;
        int transform;
        std::unique_ptr<Request> request;
    };
    std::map<std::uint64_t, Open> m_open;
    std::uint64_t m_last = 0;
    Lifetime m_lifetime;
};

} // namespace companion
