#pragma once

#include "core/FileDescriptor.h"

#include <QImage>
#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <vector>

namespace companion {

// Pixels that another program writes into a pipe, read without waiting for them. Main thread only.
class PixelPipe {
public:
    // Both ends; the writer's is to be closed once the other program has its own.
    bool open();
    const FileDescriptor &writersEnd() const { return m_writersEnd; }
    void closeWritersEnd() { m_writersEnd = {}; }

    // Once all rows of `stride` bytes have come, or the writer has ended before. `done` is told once: false
    // for a picture that no screen has, or one that stays incomplete.
    void read(const QSize &size, qsizetype stride, QImage::Format format, std::function<void(bool)> done);

    // Afterwards. Opaque, 32 bits for each pixel, with memory of its own.
    QImage picture() const;

private:
    void readSome();
    void finish(bool complete);

    FileDescriptor m_ourEnd, m_writersEnd;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::vector<uchar> m_bytes;
    std::size_t m_read = 0;
    QSize m_size;
    qsizetype m_stride = 0;
    QImage::Format m_format = QImage::Format_Invalid;
    std::function<void(bool)> m_done;
};

} // namespace companion
