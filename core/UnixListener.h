#pragma once

#include "core/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <memory>
#include <optional>
#include <string>

namespace companion {

// The address of a socket in the file system; none when the path is empty or too long for one.
std::optional<sockaddr_un> unixAddress(const std::string &path);
inline const sockaddr *generic(const sockaddr_un &address) {
    return reinterpret_cast<const sockaddr *>(&address);
}

// A stream socket that never blocks.
FileDescriptor unixSocket();

// A listening socket with a name in the file system, for its owner alone. The name goes with the listener,
// unless something else stands in its place by then.
class UnixListener {
public:
    // At a path where there is nothing; null, with the reason, when that cannot be.
    static std::unique_ptr<UnixListener> create(const std::string &path, std::string &error);
    ~UnixListener();

    // The name goes now. Any thread.
    void removeName() const;

    int descriptor() const { return m_socket.get(); }
    // The next caller; none, with errno, when there is none or it cannot be had.
    FileDescriptor accept() const;

private:
    UnixListener(FileDescriptor socket, const std::string &path);

    FileDescriptor m_socket;
    std::string m_path;
    dev_t m_device = 0; // Of our file: what stands at the path later may be another's.
    ino_t m_inode = 0;
};

} // namespace companion
