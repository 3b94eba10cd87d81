#pragma once

#include "support/rig/ChildProcess.h"
#include "support/rig/CompanionProcess.h"

#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace companion::rig {

// The unmodified program with a receiver that a test has in its hand. There are two kinds, and the same
// checks for both. The receiver is plugged in at the start and no key is held.
class ReceiverRig {
public:
    using Codes = std::vector<std::uint8_t>;
    enum class Mode { Ok, Stall, Short };

    virtual ~ReceiverRig() = default;

    virtual void plug() = 0;
    virtual void unplug() = 0;
    virtual void replug() = 0; // At once: between two polls, usually.
    virtual void setEvent(const Codes &bytes) = 0;
    virtual void once(const Codes &codes) = 0;
    virtual void setMode(Mode mode) = 0;
    virtual void setDelay(milliseconds delay) = 0; // Of each answer.
    virtual int opens() = 0;
    virtual int reads() = 0;

    ChildProcess &program() { return *m_program; }
    std::vector<CompanionProcess::LogLine> log() const { return CompanionProcess::linesOf(m_program->err()); }

    // When lines with this text were written, from the `first`th on; waits for so many.
    std::vector<milliseconds> timesOf(const std::string &text, std::size_t count, std::size_t first = 0);

    void waitForReads(int more);
    int openFiles() const;
    long residentKilobytes() const;

protected:
    // Without a display unless the environment names one.
    void start(const std::vector<std::string> &arguments, const Environment &environment);
    std::string file(const std::string &name) const;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<ChildProcess> m_program;
};

using RigMaker = std::function<std::unique_ptr<ReceiverRig>(const Environment &)>;

// The program's own virtual receiver, commanded over its socket.
std::unique_ptr<ReceiverRig> makeVirtualRig(const Environment &environment);

// The real USB libraries over a kernel of pretence.
std::unique_ptr<ReceiverRig> makeHidrawRig(const Environment &environment);

} // namespace companion::rig
