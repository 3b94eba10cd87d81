#pragma once

#include "support/rig/ChildProcess.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

// Of the library that does the work; its headers are for the two that use it.
struct _UMockdevIoctlBase;
struct _UMockdevIoctlClient;
struct _UMockdevTestbed;

namespace companion::rig {

class HidrawDevice;

// A kernel of pretence: sysfs, device nodes and hot-plug messages below a folder of its own, for programs
// that run in environment(), and for a test that ctest has started with the library preloaded. Their libudev
// and HIDAPI are the installed ones. Devices are HidrawDevice.
//
// A program that fails to open a node more than about 40 times is ended by the preloaded library.
class HidrawTestbed {
public:
    HidrawTestbed();
    ~HidrawTestbed();
    HidrawTestbed(const HidrawTestbed &) = delete;
    HidrawTestbed &operator=(const HidrawTestbed &) = delete;

    // What a program needs to live in it, besides everything else.
    Environment environment() const;

private:
    friend class HidrawDevice;
    struct Handler;
    // Who answers for a node. A client keeps what was current when it opened the node.
    struct Route {
        HidrawDevice *device = nullptr;
        std::size_t interface = 0;
        std::uint64_t presence = 0;
    };
    void route(const std::string &node, const Route &route);

    _UMockdevTestbed *m_bed;
    _UMockdevIoctlBase *m_handler;
    std::string m_folder;

    std::mutex m_mutex;
    std::map<std::string, Route> m_nodes;
    std::map<_UMockdevIoctlClient *, Route> m_clients;
    std::set<std::string> m_attached; // For ever: a client whose node lost its handler would be ended.
    int m_hidNumber = 0;              // The kernel counts every HID device that it ever saw.
};

} // namespace companion::rig
