#pragma once

#include <QRect>

#include <xcb/xproto.h>

namespace companion {

inline xcb_rectangle_t toRectangle(const QRect &r) {
    return {static_cast<std::int16_t>(r.x()), static_cast<std::int16_t>(r.y()),
            static_cast<std::uint16_t>(r.width()), static_cast<std::uint16_t>(r.height())};
}

} // namespace companion
