#include "support/rig/CompanionProcess.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace companion::rig {
namespace {

void writeSettings(const std::string &path, const Settings &settings) {
    if (settings.empty())
        return;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path);
    file << "[General]\n";
    for (const auto &[key, value] : settings)
        file << key << '=' << value << '\n';
}

} // namespace

std::string companionProgram() {
    const char *other = std::getenv("COMPANION_UNDER_TEST");
    return other != nullptr ? other : COMPANION_PROGRAM;
}

std::string settingsFile(const Desktop &desktop) {
    return desktop.file("config/presenter-companion/presenter-companion.conf");
}

CompanionProcess::CompanionProcess(const Desktop &desktop, const Settings &settings)
    : CompanionProcess(desktop, Options{.settings = settings}) {}

CompanionProcess::CompanionProcess(const Desktop &desktop, const Options &options)
    : m_desktop(desktop),
      m_input(desktop) {
    writeSettings(settingsFile(desktop), options.settings);
    const std::string socket = desktop.file("receiver");
    Environment environment = desktop.environment();
    for (const auto &[key, value] : options.environment)
        environment[key] = value;
    std::vector<std::string> command = options.wrapper;
    command.push_back(companionProgram());
    command.push_back("--virtual-receiver=" + socket);
    command.insert(command.end(), options.arguments.begin(), options.arguments.end());
    const int before = m_input.clicks();
    m_process = std::make_unique<ChildProcess>(command, environment);
    try {
        m_receiver = std::make_unique<LineSocket>(socket);
        waitForCentreClicks(before + 1);
        receiver("wait-get 2 10000");
    } catch (const std::exception &failure) {
        throw std::runtime_error(std::string(failure.what()) + "; the program wrote:\n" + m_process->err());
    }
}

std::string CompanionProcess::receiver(const std::string &command) {
    const std::string answer = ask(command);
    if (!answer.starts_with("ok"))
        throw std::runtime_error("the virtual receiver answered \"" + command + "\" with \"" + answer + "\"");
    return answer.size() > 3 ? answer.substr(3) : std::string();
}

void CompanionProcess::effectOn() {
    const int before = m_input.clicks();
    receiver("event 10");
    waitForCentreClicks(before + 1);
}

void CompanionProcess::effectOff() {
    const int before = m_input.clicks();
    receiver("event 00");
    waitForCentreClicks(before + 1);
}

void CompanionProcess::pressOnce(const std::string &code) {
    receiver("once " + code);
    receiver("wait-get 2 10000"); // The first of them may have been under way already.
}

void CompanionProcess::waitForCentreClicks(int count) {
    waitUntil("click number " + std::to_string(count) + " in the screen's centre",
              [&] { return m_input.clicks() >= count; });
}

std::vector<CompanionProcess::LogLine> CompanionProcess::linesOf(const std::string &standardError) {
    std::vector<LogLine> lines;
    std::istringstream all(standardError);
    for (std::string line; std::getline(all, line);) {
        int hours = 0;
        int minutes = 0;
        int seconds = 0;
        int thousandths = 0;
        int textStart = 0;
        if (std::sscanf(line.c_str(), "%*d-%*d-%*d %d:%d:%d.%d %n", &hours, &minutes, &seconds, &thousandths,
                        &textStart) == 4)
            lines.push_back({std::chrono::hours(hours) + std::chrono::minutes(minutes) +
                                 std::chrono::seconds(seconds) + milliseconds(thousandths),
                             line.substr(static_cast<std::size_t>(textStart))});
    }
    return lines;
}

int CompanionProcess::logCount(const std::string &text) const {
    int count = 0;
    for (const LogLine &line : log())
        count += line.text == text ? 1 : 0;
    return count;
}

void CompanionProcess::waitForLog(const std::string &text, int count, milliseconds limit) {
    waitUntil(
        "log line \"" + text + "\" number " + std::to_string(count), [&] { return logCount(text) >= count; },
        limit);
}

std::map<std::string, std::string> CompanionProcess::storedSettings() const {
    std::map<std::string, std::string> settings;
    std::ifstream file(settingsFile(m_desktop));
    for (std::string line; std::getline(file, line);)
        if (const auto equals = line.find('='); equals != std::string::npos)
            settings[line.substr(0, equals)] = line.substr(equals + 1);
    return settings;
}

} // namespace companion::rig
