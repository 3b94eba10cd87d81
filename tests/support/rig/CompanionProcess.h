#pragma once

#include "support/SocketClient.h"
#include "support/rig/ChildProcess.h"
#include "support/rig/InputRecorder.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace companion::rig {

using Settings = std::map<std::string, std::string>;

// The real program on a desktop, with a virtual receiver that the test commands.
class CompanionProcess {
public:
    struct Options {
        Settings settings{};       // What the settings file holds at the start.
        Command arguments{};       // Besides the virtual receiver.
        Environment environment{}; // Besides the desktop's.
        Command wrapper{};         // Ends in running the program, which follows it.
    };

    // Ready when the constructor returns: the receiver is polled, the start's own click is over.
    CompanionProcess(const Desktop &desktop, const Options &options);
    CompanionProcess(const Desktop &desktop, const Settings &settings);

    // Sends one command to the virtual receiver and wants "ok". Returns what follows it.
    std::string receiver(const std::string &command);

    // Holds the effect key, and waits until the effect is on and its click in the screen's centre is over.
    // The pointer is in the centre then.
    void effectOn();
    // Lets the key go, and waits until the effect is off and its click is over.
    void effectOff();
    // One press of another key of the presenter, seen by one poll.
    void pressOnce(const std::string &code);

    ChildProcess &process() { return *m_process; }
    InputRecorder &input() { return m_input; }

    struct LogLine {
        milliseconds time; // Since midnight.
        std::string text;
    };
    std::vector<LogLine> log() const;
    int logCount(const std::string &text) const; // Lines with exactly this text.
    void waitForLog(const std::string &text) const;

    Settings storedSettings() const;
    void awaitStored(const std::string &key, const std::string &value) const;

private:
    void waitForCentreClickAfter(const std::function<void()> &cause);

    const Desktop &m_desktop;
    InputRecorder m_input;
    std::unique_ptr<ChildProcess> m_process;
    std::unique_ptr<SocketClient> m_receiver;
    std::size_t m_answered = 0; // How much of what the receiver said has been read.
};

// Where the program under test lies: that of this build, unless COMPANION_UNDER_TEST in the environment names
// another.
std::string companionProgram();
// Its whole life with these arguments.
Ended runCompanion(const Command &arguments, const Environment &environment);
std::string settingsFile(const Desktop &desktop);
// None: no file.
void writeSettings(const Desktop &desktop, const Settings &settings);

} // namespace companion::rig
