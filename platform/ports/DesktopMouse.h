#pragma once

#include "platform/ports/SyntheticMouse.h"

#include <QPointF>
#include <QSizeF>

namespace companion {

// Mouse events by the desktop itself, for a backend whose display server makes none.
class DesktopMouse {
public:
    virtual ~DesktopMouse() = default;

    virtual bool available() const = 0;

    // As SyntheticMouse does it, on a desktop of one screen that is as large as `desktop`, in its points. It
    // may not know one screen from another.
    virtual void post(SyntheticMouseEvent event, QPointF where, QSizeF desktop) = 0;
};

} // namespace companion
