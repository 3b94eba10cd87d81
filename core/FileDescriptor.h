#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace companion {

// Owns an open file descriptor; closes it. -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    // Another one for the same open file; none when that cannot be had.
    static FileDescriptor copyOf(int descriptor) {
        return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
    }

    int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

} // namespace companion
