#include "support/rig/ChildProcess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <system_error>
#include <utility>

namespace companion::rig {
namespace {

int checked(int result, const char *what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

std::string contentOf(int file) {
    struct stat status {};
    checked(fstat(file, &status), "fstat");
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t length = pread(file, text.data(), text.size(), 0);
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, const Environment &environment, bool feedInput)
    : m_command(std::move(command)),
      m_out(checked(memfd_create("out", MFD_CLOEXEC), "memfd_create")),
      m_err(checked(memfd_create("err", MFD_CLOEXEC), "memfd_create")) {
    // Everything that allocates happens before the fork.
    std::vector<std::string> variables;
    for (const auto &[key, value] : environment)
        variables.push_back(key + "=" + value);
    const auto arguments = pointersTo(m_command);
    const auto variablePointers = pointersTo(variables);

    int input[2] = {-1, -1};
    if (feedInput)
        checked(pipe2(input, O_CLOEXEC), "pipe2");
    else
        input[0] = checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "open /dev/null");
    m_input = input[1];

    const pid_t parent = getpid();
    m_pid = checked(fork(), "fork");
    if (m_pid == 0)
        _exit(childMain(arguments.data(), variablePointers.data(), input[0], parent));
    close(input[0]);
    setpgid(m_pid, m_pid); // In both processes: whoever comes first.
}

int ChildProcess::childMain(char *const *arguments, char *const *environment, int input, pid_t parent) const {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // It died before we asked to be told.
        return 126;
    dup2(input, STDIN_FILENO);
    dup2(m_out, STDOUT_FILENO);
    dup2(m_err, STDERR_FILENO);
    for (const int number : {SIGPIPE, SIGTERM, SIGINT, SIGCHLD})
        ::signal(number, SIG_DFL);
    execvpe(arguments[0], arguments, environment);
    dprintf(STDERR_FILENO, "cannot start %s: %s\n", arguments[0], strerror(errno));
    return 127;
}

ChildProcess::~ChildProcess() {
    closeInput();
    if (running()) {
        signal(SIGTERM); // An X server removes its lock and socket on this one.
        try {
            waitForExit(3s);
        } catch (const WaitTimeout &) {
        }
    }
    kill(-m_pid, SIGKILL); // The whole group: whatever it started itself.
    while (!m_status && waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR)
        ;
    close(m_out);
    close(m_err);
}

std::string ChildProcess::name() const {
    return m_command.front().substr(m_command.front().rfind('/') + 1);
}

std::string ChildProcess::out() const {
    return contentOf(m_out);
}

std::string ChildProcess::err() const {
    return contentOf(m_err);
}

std::string ChildProcess::waitForError(const std::string &text, milliseconds limit) {
    std::string found;
    try {
        waitUntil(
            "\"" + text + "\" on the standard error of " + name(),
            [&] {
                std::istringstream lines(err());
                for (std::string line; std::getline(lines, line);) {
                    if (line.find(text) != std::string::npos) {
                        found = line;
                        return true;
                    }
                }
                return false;
            },
            limit);
    } catch (const WaitTimeout &timeout) {
        throw WaitTimeout(std::string(timeout.what()) + "; it wrote:\n" + err());
    }
    return found;
}

void ChildProcess::write(const std::string &text) {
    checked(static_cast<int>(::write(m_input, text.data(), text.size())), "write to a child");
}

void ChildProcess::closeInput() {
    if (m_input >= 0)
        close(std::exchange(m_input, -1));
}

void ChildProcess::signal(int number) {
    if (running())
        kill(m_pid, number);
}

bool ChildProcess::reap() {
    int status = 0;
    if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid)
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return m_status.has_value();
}

bool ChildProcess::running() {
    return !reap();
}

int ChildProcess::waitForExit(milliseconds limit) {
    waitUntil(
        "the end of " + name() + " (process " + std::to_string(m_pid) + ")", [this] { return reap(); },
        limit);
    return *m_status;
}

Environment inheritedEnvironment() {
    Environment environment;
    for (const char *key : {"PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char *value = std::getenv(key))
            environment[key] = value;
    environment["LANG"] = "C.UTF-8";
    return environment;
}

} // namespace companion::rig
