#pragma once

#include "platform/ports/OverlaySurface.h"
#include "platform/wayland/WaylandMemory.h"

#include <QRegion>
#include <QSize>

#include <array>
#include <functional>
#include <memory>

namespace companion {

// The overlay's content. A compositor that holds a picture must not see it change, so there are as many as it
// makes necessary, one or two as a rule; each catches up with what was painted into the others. None while
// nothing is shown: at 4K one takes 33 MB.
class WaylandBuffers {
public:
    explicit WaylandBuffers(wl_shm *shm) : m_shm(shm) {}

    // Device pixels. Drops all content, as drop() does.
    void setSize(const QSize &size);
    void drop();

    // Makes a draft with the newest content if there is none. False when all pictures are held, or there is
    // no memory for one: then the content is out of date from here on. All of `anew` must be painted then.
    bool begin(const QRegion &anew = {});
    bool hasDraft() const { return m_draft != nullptr; }

    // Into the draft.
    void fill(const SurfaceFrame::Fill &fill);
    void paint(const QRect &area, const std::function<void(const PixelPatch &)> &paint);
    // What has this number looks always the same in this size, and is painted once.
    void paintPicture(std::uint64_t picture, const QRect &area,
                      const std::function<void(const PixelPatch &)> &paint);

    // The draft becomes what the surface shows with its next commit; `everything`: it shows nothing yet.
    void attach(wl_surface *surface, bool everything);

    // Called when the compositor lets go of a picture after begin() has failed.
    void onRoomAgain(std::function<void()> listener) { m_roomAgain = std::move(listener); }

private:
    struct Buffer {
        std::unique_ptr<WaylandMemory> memory;
        QRegion stale; // Where it lags behind the newest.
        bool held = false;
        WaylandBuffers *owner = nullptr;
    };
    static constexpr std::size_t kMost = 3;

    Buffer *freeBuffer();
    bool allocate(Buffer &buffer);
    void catchUp(Buffer &buffer, const QRegion &anew);
    void touch(const QRect &area);
    Pixel *pixelsAt(const Buffer &buffer, QPoint at) const;
    void released(Buffer &buffer);

    wl_shm *m_shm;
    QSize m_size;
    std::array<Buffer, kMost> m_buffers;
    Buffer *m_newest = nullptr;
    Buffer *m_draft = nullptr;
    QRegion m_damage; // Of the draft.
    bool m_failed = false;
    std::uint64_t m_picture = 0;
    QSize m_pictureSize;
    std::vector<Pixel> m_pictureMemory;
    std::function<void()> m_roomAgain;
};

} // namespace companion
