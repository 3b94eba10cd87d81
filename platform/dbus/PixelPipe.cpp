#include "platform/dbus/PixelPipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace companion {
namespace {

constexpr int kLongestSide = 1 << 15; // Device pixels.
constexpr qsizetype kBytesPerPixel = 4;

} // namespace

bool PixelPipe::open() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    m_ourEnd = FileDescriptor(ends[0]);
    m_writersEnd = FileDescriptor(ends[1]);
    return fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0;
}

void PixelPipe::read(const QSize &size, qsizetype stride, QImage::Format format,
                     std::function<void(bool)> done) {
    m_done = std::move(done);
    m_size = size;
    m_stride = stride;
    m_format = format;
    if (size.isEmpty() || size.width() > kLongestSide || size.height() > kLongestSide ||
        stride < size.width() * kBytesPerPixel || stride > kLongestSide * kBytesPerPixel ||
        QImage::toPixelFormat(format).bitsPerPixel() != 32)
        return finish(false);
    m_bytes.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(size.height()));
    m_readable = std::make_unique<QSocketNotifier>(m_ourEnd.get(), QSocketNotifier::Read);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(), [this] { readSome(); });
}

void PixelPipe::readSome() {
    const ssize_t got = ::read(m_ourEnd.get(), m_bytes.data() + m_read, m_bytes.size() - m_read);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    m_read += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    if (got <= 0 || m_read == m_bytes.size())
        finish(m_read == m_bytes.size());
}

void PixelPipe::finish(bool complete) {
    if (m_readable)
        m_readable->setEnabled(false);
    if (const auto done = std::exchange(m_done, {}))
        done(complete);
}

QImage PixelPipe::picture() const {
    return QImage(m_bytes.data(), m_size.width(), m_size.height(), m_stride, m_format)
        .convertToFormat(QImage::Format_RGB32)
        .copy();
}

} // namespace companion
