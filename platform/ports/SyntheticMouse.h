#pragma once

#include <QPointF>

namespace companion {

enum class SyntheticMouseEvent { LeftMouseDown = 1, LeftMouseUp = 2, MouseMoved = 5 };

// Posts mouse events as if the user had made them. What cannot be posted is dropped silently.
class SyntheticMouse {
public:
    virtual ~SyntheticMouse() = default;

    virtual bool available() const = 0;

    // `where` in points of the overlay's screen, origin at that screen's top left. Events arrive in posting
    // order.
    virtual void post(SyntheticMouseEvent event, QPointF where) = 0;
};

} // namespace companion
