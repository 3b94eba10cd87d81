#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/DesktopMouse.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

#include <functional>
#include <optional>

namespace companion {

// Mouse events through XTEST, which everything sees as the user's own. A button acts where the pointer is, so
// one that is posted elsewhere moves it first.
//
// With Xwayland nothing but X windows would see them, and the X pointer would no longer be where the mouse
// is. There `desktop` has them on a desktop of one screen; else they are left out.
class X11SyntheticMouse final : public SyntheticMouse {
public:
    struct Xwayland {
        MainQueue &queue;
        DesktopMouse *desktop;               // May be null.
        std::function<void(QPoint)> leftOut; // Told of each motion that is, device pixels of the desktop.
    };

    X11SyntheticMouse(X11Connection &connection, X11Screens &screens,
                      std::optional<Xwayland> xwayland = std::nullopt);

    bool available() const override;
    void post(SyntheticMouseEvent event, QPointF where) override;

private:
    void fake(std::uint8_t type, std::uint8_t detail, QPoint where);

    X11Connection &m_connection;
    X11Screens &m_screens;
    const std::optional<Xwayland> m_xwayland;
    QPoint m_movedTo{-1, -1}; // Device pixels of the desktop.
    Lifetime m_lifetime;
};

} // namespace companion
