#include "platform/instance/RuntimeFolder.h"

#include "core/FileDescriptor.h"
#include "core/Log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace companion {
namespace {

constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;

FileDescriptor openFolder(const std::string &path, int more) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | more));
}

// Whose folder it is, and who may put files into it.
bool isPrivate(int folder, struct stat &status) {
    return ::fstat(folder, &status) == 0 && status.st_uid == ::geteuid() &&
           (status.st_mode & kOthersMayWrite) == 0;
}

bool isUsable(const std::string &sessionFolder) {
    if (!sessionFolder.starts_with('/'))
        return false;
    const FileDescriptor folder = openFolder(sessionFolder, 0);
    struct stat status {};
    return folder && isPrivate(folder.get(), status);
}

} // namespace

RuntimePlaces RuntimePlaces::ofThisSession() {
    const char *session = std::getenv("XDG_RUNTIME_DIR"); // Before there is a second thread.
    return {session != nullptr ? session : "", "/tmp"};
}

std::string runtimeFolder(const RuntimePlaces &places) {
    if (isUsable(places.session))
        return places.session + "/presenter-companion";
    return places.temporary + "/presenter-companion-" + std::to_string(::geteuid());
}

bool makeRuntimeFolder(const std::string &folder, std::string &error) {
    const std::string name = singleLine(folder);
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        error = name + ": " + std::strerror(errno);
        return false;
    }
    const FileDescriptor open = openFolder(folder, O_NOFOLLOW);
    if (!open) {
        error = name + ": " + std::strerror(errno);
        return false;
    }
    struct stat status {};
    if (!isPrivate(open.get(), status)) {
        error = name + " is not ours alone";
        return false;
    }
    // Others could only look so far; a folder made by hand is put right.
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0 && ::fchmod(open.get(), S_IRWXU) != 0) {
        error = name + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

bool mayMakeIn(const std::string &folder, std::string &error) {
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0)
        return true;
    error = singleLine(folder) + ": " + std::strerror(errno);
    return false;
}

} // namespace companion
