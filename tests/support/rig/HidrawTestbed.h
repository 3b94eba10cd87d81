#pragma once

#include "support/rig/ChildProcess.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace companion::rig {

class HidrawDevice;

// A kernel of pretence: sysfs, device nodes and hot-plug messages below a folder of its own, for programs
// that run in environment(). Their libudev and HIDAPI are the installed ones. Devices are HidrawDevice.
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

    // The library that shows a program this world, with a sanitizer's before it where one is in use.
    static std::string preload();

private:
    friend class HidrawDevice;
    struct Native;
    std::unique_ptr<Native> m_native;
};

} // namespace companion::rig
