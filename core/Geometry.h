#pragma once

namespace companion {

// A place in points, origin at the overlay's lower left corner, y upwards.
struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point &) const = default;
};

// Width and height in points.
struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size &) const = default;
};

// A rectangle in points, origin at its lower left corner, y upwards.
struct PointRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const PointRect &) const = default;
};

} // namespace companion
