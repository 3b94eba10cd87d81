#include "support/rig/CompanionProcess.h"

#include <QTime>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace companion::rig {
std::string companionProgram() {
    const char *other = std::getenv("COMPANION_UNDER_TEST");
    return other != nullptr ? other : COMPANION_PROGRAM;
}

Ended runCompanion(const Command &arguments, const Environment &environment) {
    Command command = arguments;
    command.insert(command.begin(), companionProgram());
    return runToEnd(command, environment);
}

std::string settingsFile(const Desktop &desktop) {
    return desktop.file("config/presenter-companion/presenter-companion.conf");
}

void writeSettings(const Desktop &desktop, const Settings &settings) {
    if (settings.empty())
        return;
    const std::string path = settingsFile(desktop);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path);
    file << "[General]\n";
    for (const auto &[key, value] : settings)
        file << key << '=' << value << '\n';
}

CompanionProcess::CompanionProcess(const Desktop &desktop, const Settings &settings)
    : CompanionProcess(desktop, Options{.settings = settings}) {}

CompanionProcess::CompanionProcess(const Desktop &desktop, const Options &options)
    : m_desktop(desktop),
      m_input(desktop) {
    writeSettings(desktop, options.settings);
    const std::string socket = desktop.file("receiver");
    Environment environment = desktop.environment();
    for (const auto &[key, value] : options.environment)
        environment[key] = value;
    Command command = options.wrapper;
    command.push_back(companionProgram());
    command.push_back("--virtual-receiver=" + socket);
    command.insert(command.end(), options.arguments.begin(), options.arguments.end());
    try {
        const auto start = [&] { m_process = std::make_unique<ChildProcess>(command, environment); };
        if (options.settings.contains("CENTRECLICK"))
            start();
        else
            waitForCentreClickAfter(start);
        waitUntil("a listener on " + socket, [&] {
            m_receiver = std::make_unique<SocketClient>(socket);
            return m_receiver->connected;
        });
        receiver("wait-get 2 10000");
    } catch (const std::exception &failure) {
        throw std::runtime_error(std::string(failure.what()) + "; the program wrote:\n" +
                                 (m_process ? m_process->err() : std::string()));
    }
}

std::string CompanionProcess::receiver(const std::string &command) {
    std::size_t end = std::string::npos;
    if (!m_receiver->send(command + "\n"))
        throw std::runtime_error("the virtual receiver is gone");
    waitUntil("the answer to \"" + command + "\"", [&] {
        end = m_receiver->received().find('\n', m_answered);
        if (end == std::string::npos && m_receiver->closed())
            throw std::runtime_error("the virtual receiver left without an answer to \"" + command + "\"");
        return end != std::string::npos;
    });
    const std::string answer = m_receiver->received().substr(m_answered, end - m_answered);
    m_answered = end + 1;
    if (!answer.starts_with("ok"))
        throw std::runtime_error("the virtual receiver answered \"" + command + "\" with \"" + answer + "\"");
    return answer.size() > 3 ? answer.substr(3) : std::string();
}

void CompanionProcess::effectOn() {
    waitForCentreClickAfter([this] { receiver("event 10"); });
}

void CompanionProcess::effectOff() {
    waitForCentreClickAfter([this] { receiver("event 00"); });
}

void CompanionProcess::pressOnce(const std::string &code) {
    receiver("once " + code);
    receiver("wait-get 2 10000"); // The first of them may have been under way already.
}

void CompanionProcess::waitForCentreClickAfter(const std::function<void()> &cause) {
    const auto clicks = [this] {
        if (m_desktop.wayland() == nullptr)
            return m_input.clicks();
        return m_process ? logCount("Click!") : 0;
    };
    const int before = clicks();
    cause();
    waitUntil("a click in the screen's centre", [&] { return clicks() > before; });
}

std::vector<CompanionProcess::LogLine> CompanionProcess::log() const {
    std::vector<LogLine> lines;
    for (const QString &line : QString::fromStdString(m_process->err()).split(u'\n')) {
        // A date, the time, and the text; what does not begin so goes on from the line before.
        const QTime time = QTime::fromString(line.mid(11, 12), Qt::ISODateWithMs);
        if (time.isValid())
            lines.push_back({milliseconds(time.msecsSinceStartOfDay()), line.mid(24).toStdString()});
    }
    return lines;
}

int CompanionProcess::logCount(const std::string &text) const {
    const auto lines = log();
    return static_cast<int>(
        std::count_if(lines.begin(), lines.end(), [&](const LogLine &line) { return line.text == text; }));
}

void CompanionProcess::waitForLog(const std::string &text) const {
    waitUntil("log line \"" + text + "\"", [&] { return logCount(text) > 0; });
}

Settings CompanionProcess::storedSettings() const {
    Settings settings;
    // As the program sees it, which may have mounts of its own.
    std::ifstream file("/proc/" + std::to_string(m_process->pid()) + "/root" + settingsFile(m_desktop));
    for (std::string line; std::getline(file, line);)
        if (const auto equals = line.find('='); equals != std::string::npos)
            settings[line.substr(0, equals)] = line.substr(equals + 1);
    return settings;
}

void CompanionProcess::awaitStored(const std::string &key, const std::string &value) const {
    waitUntil(key + "=" + value + " on disk", [&] { return storedSettings()[key] == value; });
}

} // namespace companion::rig
