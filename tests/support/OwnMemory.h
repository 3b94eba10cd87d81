#pragma once

#include <fstream>
#include <string>

namespace companion {

// Kilobytes of this process, by their name in the kernel's list: RssAnon, RssShmem and so on.
inline long ownKilobytes(const std::string &name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stol(line.substr(name.size() + 1));
    return -1;
}

} // namespace companion
