#include "platform/hidapi/ReceiverNodes.h"

#include "platform/hidapi/Folder.h"
#include "platform/hidapi/InterfaceChoice.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace companion {
namespace {

std::string whyNotOpen(const std::string &path) {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (file < 0)
        return std::strerror(errno);
    close(file);
    return {};
}

} // namespace

std::vector<ReceiverNode> findReceiverNodes(std::uint16_t vendorId, std::uint16_t productId) {
    static const std::string kNodes = "/sys/class/hidraw/";
    std::vector<ReceiverNode> nodes;
    const FolderPtr folder(opendir(kNodes.c_str()));
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        std::array<char, 4096> target;
        const ssize_t length = readlink((kNodes + entry->d_name).c_str(), target.data(), target.size());
        if (length > 0 &&
            isDeviceNameOf({target.data(), static_cast<std::size_t>(length)}, vendorId, productId)) {
            const std::string path = std::string("/dev/") + entry->d_name;
            nodes.push_back({path, whyNotOpen(path)});
        }
    }
    std::sort(nodes.begin(), nodes.end(), [](const auto &a, const auto &b) { return a.path < b.path; });
    return nodes;
}

} // namespace companion
