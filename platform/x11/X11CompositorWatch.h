#pragma once

#include "platform/x11/X11SelectionWatch.h"

namespace companion {

// Whether a compositor blends translucent windows with what lies below; without one they are black wherever
// nothing is painted. Says in the log that there is none, and each change.
class X11CompositorWatch {
public:
    static constexpr const char *kSelection = "_NET_WM_CM"; // A compositor holds it while it runs.

    explicit X11CompositorWatch(X11Connection &connection);
    X11CompositorWatch(const X11CompositorWatch &) = delete;
    X11CompositorWatch &operator=(const X11CompositorWatch &) = delete;

    bool running() const { return m_selection.held(); }
    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

private:
    std::function<void()> m_changed;
    X11SelectionWatch m_selection;
};

} // namespace companion
