#pragma once

#include "support/rig/Waiting.h"

#include <QProcess>
#include <QTemporaryDir>

#include <map>
#include <string>
#include <vector>

namespace companion::rig {

using Environment = std::map<std::string, std::string>;
using Command = std::vector<std::string>; // A program, looked up in PATH, and its arguments.

// A program started by a test, in a process group of its own. It dies with its owner, and with the test
// process however that ends. Its output goes to files, so a program that writes much never stalls.
class ChildProcess {
public:
    // Nothing of the test's own environment reaches it. With `feedInput` its standard input is what write()
    // sends; else it is empty.
    ChildProcess(const Command &command, const Environment &environment, bool feedInput = false);
    ~ChildProcess();

    pid_t pid() const { return m_pid; }
    std::string name() const;

    // All that it has written so far.
    std::string out() const;
    std::string err() const;

    // For a text on standard error.
    void waitForError(const std::string &text, milliseconds limit = kPatience) const;

    void write(const std::string &text);

    void signal(int number);
    bool running();
    // The exit status, or minus the signal that ended it.
    int waitForExit(milliseconds limit = kPatience);

private:
    QTemporaryDir m_files; // What it writes.
    QProcess m_process;
    pid_t m_pid = -1;
};

// A program's whole life.
struct Ended {
    int status;
    std::string out;
    std::string err;
};
Ended runToEnd(const Command &command, const Environment &environment, milliseconds limit = kPatience);

// The environment variables that a child needs of ours to find programs and to run under a sanitizer.
Environment inheritedEnvironment();

} // namespace companion::rig
