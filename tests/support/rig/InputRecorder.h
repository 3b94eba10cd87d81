#pragma once

#include "support/rig/Desktop.h"

#include <string>

namespace companion::rig {

// Sees every pointer event of an X desktop, whoever makes it and whoever gets it; nothing on Wayland.
class InputRecorder {
public:
    explicit InputRecorder(const Desktop &desktop);

    // One letter for each event since the recorder was made: m motion, d button down, u button up.
    const std::string &events();
    // Button releases so far.
    int clicks();

private:
    XConnection m_connection;
    std::string m_events;
};

} // namespace companion::rig
