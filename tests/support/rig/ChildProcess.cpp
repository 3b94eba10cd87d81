#include "support/rig/ChildProcess.h"

#include <QFile>

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace companion::rig {
namespace {

const QString kOut = QStringLiteral("out");
const QString kErr = QStringLiteral("err");

std::string contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : std::string();
}

} // namespace

ChildProcess::ChildProcess(const Command &command, const Environment &environment, bool feedInput) {
    QStringList arguments;
    for (const std::string &each : command)
        arguments.append(QString::fromStdString(each));
    m_process.setProgram(arguments.takeFirst());
    m_process.setArguments(arguments);
    QProcessEnvironment variables;
    for (const auto &[key, value] : environment)
        variables.insert(QString::fromStdString(key), QString::fromStdString(value));
    m_process.setProcessEnvironment(variables);
    if (!feedInput)
        m_process.setStandardInputFile(QProcess::nullDevice());
    m_process.setStandardOutputFile(m_files.filePath(kOut));
    m_process.setStandardErrorFile(m_files.filePath(kErr));
    m_process.setChildProcessModifier([parent = getpid()] {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) // It died before we asked to be told.
            _exit(126);
    });
    m_process.start();
    if (!m_process.waitForStarted())
        throw std::runtime_error(name() + ": " + m_process.errorString().toStdString());
    m_pid = static_cast<pid_t>(m_process.processId());
}

ChildProcess::~ChildProcess() {
    m_process.closeWriteChannel();
    signal(SIGTERM); // An X server removes its lock and socket on this one.
    m_process.waitForFinished(3000);
    kill(-m_pid, SIGKILL); // The whole group: whatever it started itself.
    m_process.waitForFinished();
}

std::string ChildProcess::name() const {
    return m_process.program().section(u'/', -1).toStdString();
}

std::string ChildProcess::out() const {
    return contentOf(m_files.filePath(kOut));
}

std::string ChildProcess::err() const {
    return contentOf(m_files.filePath(kErr));
}

void ChildProcess::waitForError(const std::string &text, milliseconds limit) const {
    try {
        waitUntil(
            "\"" + text + "\" on the standard error of " + name(),
            [&] { return err().find(text) != std::string::npos; }, limit);
    } catch (const WaitTimeout &timeout) {
        throw WaitTimeout(std::string(timeout.what()) + "; it wrote:\n" + err());
    }
}

void ChildProcess::write(const std::string &text) {
    m_process.write(text.data(), static_cast<qint64>(text.size()));
    m_process.waitForBytesWritten();
}

void ChildProcess::signal(int number) {
    if (running())
        kill(m_pid, number);
}

bool ChildProcess::running() {
    return m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(0);
}

int ChildProcess::waitForExit(milliseconds limit) {
    waitUntil(
        "the end of " + name() + " (process " + std::to_string(m_pid) + ")", [this] { return !running(); },
        limit);
    return m_process.exitStatus() == QProcess::CrashExit ? -m_process.exitCode() : m_process.exitCode();
}

Ended runToEnd(const Command &command, const Environment &environment, milliseconds limit) {
    ChildProcess child(command, environment);
    const int status = child.waitForExit(limit);
    return {status, child.out(), child.err()};
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
