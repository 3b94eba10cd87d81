#pragma once

#include "platform/ports/SyntheticMouse.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

namespace companion {

// Mouse events through XTEST, which everything sees as the user's own. A button acts where the pointer is, so
// one that is posted elsewhere moves it first.
class X11SyntheticMouse final : public SyntheticMouse {
public:
    X11SyntheticMouse(X11Connection &connection, X11Screens &screens);

    bool available() const override { return m_connection.extensions().xtest; }
    void post(SyntheticMouseEvent event, QPointF where) override;

private:
    void fake(std::uint8_t type, std::uint8_t detail, QPoint where);

    X11Connection &m_connection;
    X11Screens &m_screens;
    QPoint m_movedTo{-1, -1}; // Device pixels of the desktop.
};

} // namespace companion
