#pragma once

#include "support/rig/Waiting.h"

#include <string>

namespace companion::rig {

// A client of a Unix socket on which each line sent is answered by one line.
class LineSocket {
public:
    // Waits for the socket to be there and to accept.
    explicit LineSocket(std::string path);
    ~LineSocket();
    LineSocket(const LineSocket &) = delete;
    LineSocket &operator=(const LineSocket &) = delete;

    std::string ask(const std::string &line, milliseconds limit = kPatience);

private:
    bool connectOnce();

    std::string m_path;
    int m_socket = -1;
    std::string m_received;
};

} // namespace companion::rig
