#pragma once

#include "platform/ports/CursorVisibility.h"
#include "platform/x11/X11Connection.h"

#include <functional>
#include <mutex>

namespace companion {

// Hides the cursor for the whole desktop. The server counts each hiding and takes them back when the
// connection ends; here it is never hidden twice.
class X11Cursor final : public CursorVisibility {
public:
    explicit X11Cursor(X11Connection &connection) : m_connection(connection) {}

    bool available() const override { return true; }
    void setHiddenUntilMouseMoves() override;
    void show() override; // From any thread.

    // A motion that came after the request `sequence`; older ones do not end a later hiding. Says whether the
    // cursor is still hidden.
    bool mouseMoved(unsigned sequence);

    // Called when the cursor has been hidden: the next motion must be told.
    void onHidden(std::function<void()> listener) { m_hiddenListener = std::move(listener); }

private:
    X11Connection &m_connection;
    std::function<void()> m_hiddenListener;
    std::mutex m_mutex; // A flag and its request are one step.
    bool m_hidden = false;
    unsigned m_hiddenBy = 0;
};

} // namespace companion
