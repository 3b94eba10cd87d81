#include "core/TerminalRelay.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace companion {
namespace {

void carry(int from, int terminal, std::atomic<std::uint64_t> &carried) {
    std::array<char, 4096> part;
    for (ssize_t length = 0; (length = ::read(from, part.data(), part.size())) > 0;) {
        const auto size = static_cast<std::size_t>(length);
        for (std::size_t done = 0; done < size;) {
            const ssize_t written = ::write(terminal, part.data() + done, size - done);
            if (written >= 0)
                done += static_cast<std::size_t>(written);
            else if (errno != EINTR)
                break; // There is nobody any more; the pipe is emptied all the same.
        }
        carried += size;
    }
    ::close(from);
}

} // namespace

std::unique_ptr<TerminalRelay> TerminalRelay::make(int terminal) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return nullptr;
    ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
    auto carried = std::make_shared<Carried>(0);
    sigset_t all; // Signals are for other threads.
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    bool made = true;
    try {
        std::thread([from = ends[0], terminal, carried] { carry(from, terminal, *carried); }).detach();
    } catch (const std::system_error &) {
        made = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (made)
        return std::unique_ptr<TerminalRelay>(new TerminalRelay(ends[1], std::move(carried)));
    ::close(ends[0]);
    ::close(ends[1]);
    return nullptr;
}

TerminalRelay::TerminalRelay(int descriptor, std::shared_ptr<Carried> carried)
    : m_descriptor(descriptor),
      m_carried(std::move(carried)) {}

TerminalRelay::~TerminalRelay() {
    ::close(m_descriptor);
}

bool TerminalRelay::flush(std::uint64_t written, std::chrono::steady_clock::time_point deadline) const {
    while (*m_carried < written) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace companion
