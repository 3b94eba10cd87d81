#pragma once

#include "settings/SettingsFile.h"

#include <chrono>
#include <functional>
#include <memory>

namespace companion {

// Saves on a thread of its own, so that no disk holds up the main thread.
//
//   handed over   1   2 3 4          5
//   saved         [1       ][4   ]   [5   ]
//
// Of what is handed over while a save is under way only the latest is saved, so no older state ever follows a
// newer one. A save that did not work is tried again, with what is the latest by then.
class SettingsSaver {
public:
    // Called on the saver's thread, never twice at a time. False when it did not work.
    using Save = std::function<bool(const settings_file::Values &)>;

    // Null when the system gives no thread.
    static std::unique_ptr<SettingsSaver> make(Save save, std::chrono::milliseconds again);

    // As finish(), for a second.
    ~SettingsSaver();
    SettingsSaver(const SettingsSaver &) = delete;
    SettingsSaver &operator=(const SettingsSaver &) = delete;

    void save(const settings_file::Values &values);

    // Waits for what has been handed over, but not longer than this: a save that hangs is left to itself. The
    // first call's patience counts; nothing is saved afterwards. True when all is saved. Any thread.
    bool finish(std::chrono::milliseconds patience);

private:
    struct State;
    explicit SettingsSaver(std::shared_ptr<State> state);
    static void run(State &state);

    std::shared_ptr<State> m_state; // The thread's as well, which may hang for longer than we live.
};

} // namespace companion
