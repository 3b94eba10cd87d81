#pragma once

#include <QRectF>

namespace companion {

// An anti-aliased disc in device pixels, evaluated row by row: the cost of painting follows the rows asked
// for and the rim's length, nothing is cached, and a piece of a disc has the very pixels that the whole disc
// has there.
class Disc {
public:
    explicit Disc(const QRectF &square);

    // Columns of one row: outside before rimLeft, rim up to inside, full up to rimRight, rim up to end.
    struct Row {
        int rimLeft;
        int inside;
        int rimRight;
        int end;
    };

    // Limited to the columns from `left` to before `right`.
    Row row(int y, int left, int right) const;

    // How much of the pixel the disc covers, 0 to 255.
    unsigned coverage(int x, int y) const;

private:
    double m_centreX;
    double m_centreY;
    double m_radius;
};

} // namespace companion
