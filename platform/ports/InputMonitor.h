#pragma once

#include "core/Geometry.h"

#include <functional>
#include <optional>

namespace companion {

// The numbers are the bits of the monitor's mask.
enum class InputEventType {
    LeftMouseUp = 2,
    RightMouseUp = 4,
    MouseMoved = 5,
    LeftMouseDragged = 6,
    RightMouseDragged = 7,
    KeyDown = 10,
    KeyUp = 11,
};

struct InputEvent {
    InputEventType type = InputEventType::MouseMoved;
    Point location;  // Of the pointer, overlay points, lower-left origin.
    int keyCode = 0; // Virtual key code of a key event: one of the four below.
};

// Physical keys, whatever layout is active: a presenter sends key positions.
inline constexpr int kVirtualKeyB = 11;
inline constexpr int kVirtualKeyF5 = 96;
inline constexpr int kVirtualKeyPageUp = 116;
inline constexpr int kVirtualKeyPageDown = 121;

// Sees the mouse and the four keys of the whole desktop, also while the overlay takes the mouse, another
// program grabs the input or a menu is open.
class InputMonitor {
public:
    using Handler = std::function<void(const InputEvent &)>;

    virtual ~InputMonitor() = default;

    virtual bool available() const = 0;

    // `mask` has the bit 1 << type set for each wanted event type. Handlers run on the main thread, and stay
    // for the monitor's life. Motions that arrive together come as one event with the last location.
    virtual void addGlobalMonitor(unsigned mask, Handler handler) = 0;

    // Where the pointer is now, in overlay points; nothing where that cannot be known.
    virtual std::optional<Point> pointer() const = 0;

    // Motions and drags may be left out while this is off, as it is at first: an idle program is not to be
    // woken by every move of the mouse.
    virtual void followMotion(bool follow) = 0;
};

} // namespace companion
