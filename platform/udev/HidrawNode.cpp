#include "platform/udev/HidrawNode.h"

#include <fcntl.h>
#include <linux/hidraw.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>
#include <vector>

namespace companion {

class HidrawNode::OpenFile {
public:
    explicit OpenFile(int descriptor) : m_descriptor(descriptor) {}
    ~OpenFile() { ::close(m_descriptor); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    int descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
};

// The kernel waits 5 s for a device that keeps silent, which nothing can shorten. So the call has a thread of
// its own, which shares nothing but this and is never waited for.
struct HidrawNode::FeatureRead {
    FeatureRead(std::shared_ptr<const OpenFile> openFile, std::size_t bufferLength,
                HotplugWatch::Report report)
        : file(std::move(openFile)),
          finished(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          buffer(bufferLength),
          done(std::move(report)) {}
    ~FeatureRead() { ::close(finished); }
    FeatureRead(const FeatureRead &) = delete;
    FeatureRead &operator=(const FeatureRead &) = delete;

    const std::shared_ptr<const OpenFile> file; // As long as the call lasts, whatever becomes of the node.
    const int finished; // Readable from the end of the call on; only then the main thread looks at the rest.
    std::vector<std::uint8_t> buffer;
    int length = -1;
    const HotplugWatch::Report done; // The main thread's.
};

HidrawNode::HidrawNode(MainQueue &queue, std::string path) : m_queue(queue), m_path(std::move(path)) {}

HidrawNode::~HidrawNode() {
    close();
}

bool HidrawNode::open() {
    if (!m_file) {
        const int descriptor = ::open(m_path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
        if (descriptor >= 0)
            m_file = std::make_shared<OpenFile>(descriptor);
    }
    return m_file != nullptr;
}

bool HidrawNode::close() {
    m_readable.reset();
    m_readDone.reset();
    m_read.reset();
    return std::exchange(m_file, nullptr) != nullptr;
}

void HidrawNode::onInputReport(std::size_t length, HotplugWatch::Report received) {
    m_received = std::move(received);
    if (!m_file)
        return;
    m_readable = std::make_unique<QSocketNotifier>(m_file->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(),
                     [this, length] { readInput(length); });
}

void HidrawNode::readInput(std::size_t length) {
    std::vector<std::uint8_t> report(length);
    const ssize_t count = ::read(m_file->descriptor(), report.data(), report.size());
    if (count > 0) {
        const auto received = m_received; // The receiver may close the node.
        received(std::span(report).first(static_cast<std::size_t>(count)));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        m_readable->setEnabled(false); // The device has gone: the descriptor would be readable for ever.
    }
}

void HidrawNode::getFeatureReport(std::uint8_t reportId, std::size_t length,
                                  std::chrono::milliseconds timeout, HotplugWatch::Report done) {
    if (!m_file)
        return;
    finish({});
    const std::size_t withId = reportId == 0 ? length + 1 : length; // The kernel wants the ID even of none.
    m_read = std::make_shared<FeatureRead>(m_file, withId, std::move(done));
    m_read->buffer[0] = reportId;
    m_readDone = std::make_unique<QSocketNotifier>(m_read->finished, QSocketNotifier::Read);
    QObject::connect(m_readDone.get(), &QSocketNotifier::activated, m_readDone.get(), [this, reportId] {
        const std::size_t skipped = reportId == 0 ? 1 : 0;
        const auto read = m_read;
        const auto count = static_cast<std::size_t>(std::max(read->length, 0));
        finish(count > skipped ? std::span(read->buffer).first(count).subspan(skipped)
                               : std::span<std::uint8_t>());
    });
    m_queue.post(timeout, m_life.guard([this, read = std::weak_ptr(m_read)] {
        if (m_read && m_read == read.lock())
            finish({});
    }));
    std::thread([read = m_read] {
        read->length =
            ioctl(read->file->descriptor(), HIDIOCGFEATURE(read->buffer.size()), read->buffer.data());
        const std::uint64_t one = 1;
        static_cast<void>(::write(read->finished, &one, sizeof one) == sizeof one);
    }).detach();
}

void HidrawNode::finish(std::span<const std::uint8_t> answer) {
    if (!m_read)
        return;
    if (m_readDone) {
        m_readDone->setEnabled(false);
        m_readDone.release()->deleteLater(); // It may be the one that calls.
    }
    const auto read = std::exchange(m_read, nullptr);
    read->done(answer);
}

bool HidrawNode::setOutputReport(std::uint8_t reportId, std::span<const std::uint8_t> bytes) {
    std::vector<std::uint8_t> report{reportId};
    report.insert(report.end(), bytes.begin(), bytes.end());
    return m_file &&
           ::write(m_file->descriptor(), report.data(), report.size()) == static_cast<ssize_t>(report.size());
}

} // namespace companion
