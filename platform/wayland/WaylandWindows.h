#pragma once

#include "platform/ports/OwnWindows.h"

namespace companion {

// The toolkit's windows where no program may look at others' or place its own: all that can be asked for is
// the keyboard, with the token that the user's click has left.
class WaylandWindows final : public OwnWindows {
public:
    void announce(Window, const std::string &) override {}
    void startupEnded(const std::string &) override {}
    Window owner() const override { return 0; }
    void activate(Window window, const std::string &startupId) override;
    Sight look(Window) const override { return Sight::Unknown; }
};

} // namespace companion
