#pragma once

#include "support/rig/CompanionProcess.h"
#include "support/rig/HidrawDevice.h"

#include <QTemporaryDir>

#include <csignal>
#include <memory>

namespace companion::rig {

// The unmodified program over the real USB libraries, with a receiver that a test has in its hand: plugged in
// at the start unless told otherwise, and no key is held.
class HidrawRig {
public:
    explicit HidrawRig(const Environment &environment = {}, // Without a display unless it names one.
                       std::vector<HidrawDevice::Interface> interfaces = {HidrawDevice::Interface::Vendor},
                       bool plugged = true);
    ~HidrawRig() { m_program->signal(SIGKILL); } // Nothing is left to answer it.

    void replug(); // At once: between two polls, usually.
    int reads() const { return static_cast<int>(device.reads().size()); }
    void waitForReads(int more) const;

    std::vector<CompanionProcess::LogLine> log() const { return CompanionProcess::linesOf(m_program->err()); }
    // When lines with this text were written, from the `first`th on; waits for so many.
    std::vector<milliseconds> timesOf(const std::string &text, std::size_t count,
                                      std::size_t first = 0) const;

private:
    HidrawTestbed m_bed;

public:
    HidrawDevice device;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<ChildProcess> m_program;
};

} // namespace companion::rig
