#pragma once

#include "core/FileDescriptor.h"
#include "core/UnixListener.h"

#include <memory>
#include <string>

namespace companion {

// The right to be the user's one running program, and the socket on which further starts reach it. The kernel
// takes the lock back when its holder dies in whatever way, so a crashed program blocks nobody, and a socket
// that is found while holding the lock is a dead one's.
class InstanceLock {
public:
    enum class Outcome { Held, Taken, Failed };
    struct Result {
        Outcome outcome;
        std::unique_ptr<InstanceLock> lock{}; // Held.
        std::string error{};                  // Failed.
    };

    // In a runtime folder that makeRuntimeFolder has passed.
    static Result take(const std::string &folder);

    // Whether some process holds the lock. Makes nothing. Failed, with the reason, where take() would fail as
    // well: then one may run that has no lock.
    enum class State { Free, Taken, Failed };
    static State look(const std::string &folder, std::string &error);

    static std::string socketPath(const std::string &folder) { return folder + "/control"; }

    // Lets go of the lock and of the socket's name, though the process may take a while to end. Any thread.
    void release() const;

    // Null, with the reason, when the socket could not be made.
    const UnixListener *listener() const { return m_listener.get(); }
    const std::string &listenerError() const { return m_listenerError; }

private:
    InstanceLock(FileDescriptor file, const std::string &folder);

    FileDescriptor m_file; // Stays in the folder for ever: removing a lock file makes two of it.
    std::string m_listenerError;
    std::unique_ptr<UnixListener> m_listener;
};

} // namespace companion
