#include "settings/SettingsSaver.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace companion {

struct SettingsSaver::State {
    const Save save;
    const std::chrono::milliseconds again;

    std::mutex mutex{}; // Never held over a save. Guards what follows:
    std::condition_variable changed{};
    std::optional<settings_file::Values> latest{}; // Not saved yet.
    bool saved = true;                             // The last save worked.
    bool ending = false;
    bool ended = false;
    std::chrono::steady_clock::time_point deadline{}; // Of the end.
};

SettingsSaver::SettingsSaver(std::shared_ptr<State> state) : m_state(std::move(state)) {}

std::unique_ptr<SettingsSaver> SettingsSaver::make(Save save, std::chrono::milliseconds again) {
    const std::shared_ptr<State> state(new State{std::move(save), again});
    try {
        std::thread([state] { run(*state); }).detach();
    } catch (const std::system_error &) {
        return nullptr;
    }
    return std::unique_ptr<SettingsSaver>(new SettingsSaver(state));
}

SettingsSaver::~SettingsSaver() {
    finish(std::chrono::seconds(1));
}

void SettingsSaver::save(const settings_file::Values &values) {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->latest = values;
    }
    m_state->changed.notify_all();
}

bool SettingsSaver::finish(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_state->mutex);
    if (!std::exchange(m_state->ending, true)) {
        m_state->deadline = std::chrono::steady_clock::now() + patience;
        m_state->changed.notify_all();
    }
    m_state->changed.wait_until(lock, m_state->deadline, [this] { return m_state->ended; });
    return m_state->ended && m_state->saved;
}

void SettingsSaver::run(State &state) {
    pthread_setname_np(pthread_self(), "saver");
    std::unique_lock lock(state.mutex);
    while (true) {
        const auto wanted = [&state] { return state.ending || state.latest; };
        if (state.saved)
            state.changed.wait(lock, wanted);
        if (!state.latest)
            break; // It ends.
        const settings_file::Values values = *std::exchange(state.latest, std::nullopt);
        const bool last = state.ending;
        lock.unlock();
        const bool saved = state.save(values);
        lock.lock();
        state.saved = saved;
        if (saved)
            continue;
        if (!state.latest)
            state.latest = values;
        if (last)
            break;
        // A newer state makes no room on a full disk, but an end is the last chance.
        state.changed.wait_for(lock, state.again, [&state] { return state.ending; });
    }
    state.ended = true;
    state.changed.notify_all();
}

} // namespace companion
