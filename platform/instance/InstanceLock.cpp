#include "platform/instance/InstanceLock.h"

#include "core/Log.h"
#include "platform/instance/RuntimeFolder.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace companion {
namespace {

std::string lockPath(const std::string &folder) {
    return folder + "/lock";
}

std::string failureAt(const std::string &path) {
    return singleLine(path) + ": " + std::strerror(errno);
}

} // namespace

InstanceLock::Result InstanceLock::take(const std::string &folder) {
    const std::string path = lockPath(folder);
    FileDescriptor file(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR));
    if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return {Outcome::Held, std::unique_ptr<InstanceLock>(new InstanceLock(std::move(file), folder))};
    if (file && errno == EWOULDBLOCK)
        return {Outcome::Taken};
    return {Outcome::Failed, nullptr, failureAt(path)};
}

// A shared lock for a moment: a program that starts right then tries again.
InstanceLock::State InstanceLock::look(const std::string &folder, std::string &error) {
    const std::string path = lockPath(folder);
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file && ::flock(file.get(), LOCK_SH | LOCK_NB) == 0)
        return State::Free;
    if (file && errno == EWOULDBLOCK)
        return State::Taken;
    if (!file && errno == ENOENT && mayMakeIn(folder, error))
        return State::Free;
    if (error.empty())
        error = failureAt(path);
    return State::Failed;
}

void InstanceLock::release() const {
    if (m_listener)
        m_listener->removeName();
    ::flock(m_file.get(), LOCK_UN);
}

InstanceLock::InstanceLock(FileDescriptor file, const std::string &folder) : m_file(std::move(file)) {
    const std::string path = socketPath(folder);
    ::unlink(path.c_str());
    m_listener = UnixListener::create(path, m_listenerError);
}

} // namespace companion
