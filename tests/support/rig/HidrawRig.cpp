#include "support/rig/HidrawRig.h"

#include <filesystem>

namespace companion::rig {

HidrawRig::HidrawRig(const Environment &environment, std::vector<HidrawDevice::Interface> interfaces,
                     bool plugged)
    : device(m_bed, 0x1209, 0x00AB, std::move(interfaces)) {
    if (plugged)
        device.plug();
    Environment all = inheritedEnvironment();
    all.merge(m_bed.environment());
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME"}) {
        all[variable] = m_folder.filePath(QLatin1String(variable)).toStdString();
        std::filesystem::create_directory(all[variable]);
        std::filesystem::permissions(all[variable], std::filesystem::perms::owner_all);
    }
    all["QT_QPA_PLATFORM"] = environment.count("DISPLAY") != 0 ? "xcb" : "offscreen";
    for (const auto &[key, value] : environment)
        all[key] = value;
    m_program = std::make_unique<ChildProcess>(
        std::vector<std::string>{companionProgram(), "--receiver=1209:00ab"}, all);
}

void HidrawRig::replug() {
    device.unplug();
    device.plug();
}

std::vector<milliseconds> HidrawRig::timesOf(const std::string &text, std::size_t count,
                                             std::size_t first) const {
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

void HidrawRig::waitForReads(int more) const {
    const int wanted = reads() + more;
    waitUntil(std::to_string(more) + " polls", [&] { return reads() >= wanted; });
}

} // namespace companion::rig
