#pragma once

#include "support/rig/Waiting.h"

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace companion::rig {

using Environment = std::map<std::string, std::string>;

// A program started by a test, in a process group of its own. It dies with its owner, and with the test
// process however that ends. Its output goes to memory, so a program that writes much never stalls.
class ChildProcess {
public:
    // `command` is the program, looked up in PATH, and its arguments. Nothing of the test's own environment
    // reaches it. With `feedInput` its standard input is what write() sends; else it is empty.
    ChildProcess(std::vector<std::string> command, const Environment &environment, bool feedInput = false);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    pid_t pid() const { return m_pid; }
    std::string name() const;

    // All that it has written so far.
    std::string out() const;
    std::string err() const;

    // The first line of standard error that contains the text, waited for.
    std::string waitForError(const std::string &text, milliseconds limit = kPatience);

    void write(const std::string &text);
    void closeInput();

    void signal(int number);
    bool running();
    // The exit status, or minus the signal that ended it.
    int waitForExit(milliseconds limit = kPatience);

private:
    int childMain(char *const *arguments, char *const *environment, int input, pid_t parent) const;
    bool reap();

    std::vector<std::string> m_command;
    int m_out;
    int m_err;
    int m_input = -1;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

// Whether a leak would show in a process's memory: a sanitizer keeps what was freed.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kMemoryTells = false;
#else
inline constexpr bool kMemoryTells = true;
#endif

// The environment variables that a child needs of ours to find programs and to run under a sanitizer.
Environment inheritedEnvironment();

} // namespace companion::rig
