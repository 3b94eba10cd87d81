#include "support/rig/ReceiverRig.h"

#include "support/rig/HidrawDevice.h"
#include "support/rig/HidrawRig.h"
#include "support/rig/LineSocket.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace companion::rig {
namespace {

class VirtualRig final : public ReceiverRig {
public:
    explicit VirtualRig(const Environment &environment) {
        start({"--virtual-receiver=" + file("receiver")}, environment);
        m_socket = std::make_unique<LineSocket>(file("receiver"));
    }

    void plug() override { tell("plug"); }
    void unplug() override { tell("unplug"); }
    void replug() override { tell("replug"); }
    void setEvent(const Codes &bytes) override { tell("event" + hex(bytes)); }
    void once(const Codes &codes) override { tell("once" + hex(codes)); }
    void setMode(Mode mode) override {
        tell(mode == Mode::Ok ? "mode ok" : (mode == Mode::Stall ? "mode stall" : "mode short"));
    }
    void setDelay(milliseconds delay) override { tell("delay " + std::to_string(delay.count())); }
    int opens() override { return count("opens"); }
    int reads() override { return count("reads"); }

private:
    static std::string hex(const Codes &codes) {
        std::string text;
        for (const std::uint8_t code : codes) {
            char byte[8];
            std::snprintf(byte, sizeof byte, " %02x", code);
            text += byte;
        }
        return text;
    }

    std::string tell(const std::string &command) {
        const std::string answer = m_socket->ask(command);
        if (!answer.starts_with("ok"))
            throw std::runtime_error("the virtual receiver answered \"" + command + "\" with \"" + answer +
                                     "\"");
        return answer;
    }

    int count(const std::string &what) {
        const std::string answer = tell("counts");
        return std::stoi(answer.substr(answer.find(what) + what.size() + 1));
    }

    std::unique_ptr<LineSocket> m_socket;
};

} // namespace

std::string ReceiverRig::file(const std::string &name) const {
    return m_folder.filePath(QString::fromStdString(name)).toStdString();
}

void ReceiverRig::start(const std::vector<std::string> &arguments, const Environment &environment) {
    Environment all = inheritedEnvironment();
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME"}) {
        all[variable] = file(variable);
        std::filesystem::create_directory(file(variable));
        std::filesystem::permissions(file(variable), std::filesystem::perms::owner_all);
    }
    all["QT_QPA_PLATFORM"] = environment.count("DISPLAY") != 0 ? "xcb" : "offscreen";
    for (const auto &[key, value] : environment)
        all[key] = value;
    std::vector<std::string> command{companionProgram()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_program = std::make_unique<ChildProcess>(command, all);
}

std::vector<milliseconds> ReceiverRig::timesOf(const std::string &text, std::size_t count,
                                               std::size_t first) {
    std::vector<milliseconds> times;
    try {
        waitUntil("line \"" + text + "\" number " + std::to_string(first + count), [&] {
            times.clear();
            std::size_t seen = 0;
            for (const auto &line : log())
                if (line.text == text && seen++ >= first)
                    times.push_back(line.time);
            return times.size() >= count;
        });
    } catch (const WaitTimeout &timeout) {
        throw WaitTimeout(std::string(timeout.what()) + "; the program wrote:\n" + m_program->err());
    }
    return times;
}

void ReceiverRig::waitForReads(int more) {
    const int wanted = reads() + more;
    waitUntil(std::to_string(more) + " polls", [&] { return reads() >= wanted; });
}

int ReceiverRig::openFiles() const {
    const std::filesystem::directory_iterator files("/proc/" + std::to_string(m_program->pid()) + "/fd");
    return static_cast<int>(std::distance(files, {}));
}

long ReceiverRig::residentKilobytes() const {
    std::ifstream status("/proc/" + std::to_string(m_program->pid()) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("RssAnon:"))
            return std::stol(line.substr(8));
    throw std::runtime_error("the program has no memory: it has ended");
}

std::unique_ptr<ReceiverRig> makeVirtualRig(const Environment &environment) {
    return std::make_unique<VirtualRig>(environment);
}

std::unique_ptr<ReceiverRig> makeHidrawRig(const Environment &environment) {
    return std::make_unique<HidrawRig>(environment);
}

} // namespace companion::rig
