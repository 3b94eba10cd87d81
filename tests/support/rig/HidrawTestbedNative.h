#pragma once

#include "support/rig/HidrawDevice.h"

#include <umockdev.h>

#include <map>
#include <mutex>
#include <set>
#include <string>

namespace companion::rig {

// The testbed's side towards the library; for the testbed and its devices only.
struct HidrawTestbed::Native {
    Native();
    ~Native();

    // Who answers for a node. A client keeps what was current when it opened the node.
    struct Route {
        HidrawDevice *device = nullptr;
        std::size_t interface = 0;
        std::uint64_t presence = 0;
    };
    void route(const std::string &node, const Route &route);

    struct Handler;
    UMockdevTestbed *bed;
    UMockdevIoctlBase *handler;
    std::string folder;

    std::mutex mutex;
    std::map<std::string, Route> nodes;
    std::map<UMockdevIoctlClient *, Route> clients;
    std::set<std::string> attached; // Nodes, for ever: a client whose node lost its handler would be ended.
    int hidNumber = 0;              // The kernel counts every HID device that it ever saw.
};

} // namespace companion::rig
