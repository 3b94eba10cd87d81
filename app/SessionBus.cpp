#include "app/SessionBus.h"

#include "core/Log.h"
#include "core/UnixClient.h"
#include "core/UnixListener.h"

#include <QByteArray>
#include <QList>

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <string>

namespace companion {
namespace {

constexpr const char *kAddress = "DBUS_SESSION_BUS_ADDRESS";
// A bus that the session starts at its first connection takes its time while everything else starts too.
constexpr std::chrono::seconds kPatienceWithBus{3};

// The value of `key` in the first address of the list, whose form is "unix:key=value,key=value;…" with bytes
// escaped as in URLs (D-Bus, "Server Addresses"). Empty if it has none.
std::string inFirstAddress(const QByteArray &addresses, const QByteArray &key) {
    const QByteArray first = addresses.split(';').front();
    if (!first.startsWith("unix:"))
        return {};
    for (const QByteArray &pair : first.mid(5).split(',')) {
        if (pair.startsWith(key + '='))
            return QByteArray::fromPercentEncoding(pair.mid(key.size() + 1)).toStdString();
    }
    return {};
}

// Says who we are, which is how every conversation with a bus begins, and wants any answer at all (D-Bus,
// "Authentication Protocol"). Whatever cannot be asked is left to the toolkit.
bool isSilent(const std::string &name, bool abstract) {
    auto address = unixAddress(abstract ? '@' + name : name);
    const FileDescriptor socket = unixSocket();
    if (!address || !socket)
        return false;
    std::size_t size = sizeof *address;
    if (abstract) {
        address->sun_path[0] = '\0';
        size = offsetof(sockaddr_un, sun_path) + 1 + name.size();
    }
    if (::connect(socket.get(), generic(*address), static_cast<socklen_t>(size)) != 0)
        return errno == EAGAIN; // So many wait for it that there is no room.
    const QByteArray user = QByteArray::number(::geteuid()).toHex();
    const std::string greeting = std::string(1, '\0') + "AUTH EXTERNAL " + user.toStdString() + "\r\n";
    const auto deadline = std::chrono::steady_clock::now() + kPatienceWithBus;
    return askLine(socket.get(), greeting, deadline).empty() && std::chrono::steady_clock::now() >= deadline;
}

} // namespace

void disableUselessSessionBus() {
    const QByteArray addresses = qgetenv(kAddress);
    std::string path = inFirstAddress(addresses, "path");
    const std::string abstractName = inFirstAddress(addresses, "abstract");
    if (!qEnvironmentVariableIsSet(kAddress)) {
        const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
        path = (folder + "/bus").toStdString();
        if (folder.isEmpty() || ::access(path.c_str(), F_OK) != 0) {
            qputenv(kAddress, "disabled:");
            return;
        }
    }
    if ((!path.empty() && isSilent(path, false)) || (!abstractName.empty() && isSilent(abstractName, true))) {
        Log::line("the session bus does not answer: no tray icon through it");
        qputenv(kAddress, "disabled:");
    }
}

} // namespace companion
