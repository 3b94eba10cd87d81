#pragma once

#include <QRectF>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace companion {

// An anti-aliased disc in device pixels. What its rim covers is worked out once and kept for as long as the
// disc keeps its size and its place within a pixel: a disc that follows the pointer only moves. A piece of a
// disc has the very pixels that the whole disc has there.
class Disc {
public:
    // Of no size: covers nothing.
    Disc() = default;
    explicit Disc(const QRectF &square) { moveTo(square); }

    // False if it looks as before but for its place, in whole pixels.
    bool moveTo(const QRectF &square);

    // False for discs far larger than any effect: those are worked out pixel by pixel.
    bool isKept() const { return m_kept != nullptr; }

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
    unsigned coverage(int x, int y) const {
        const int column = x - m_left;
        const int line = y - m_top;
        if (!m_kept)
            return m_circle.coverage(column, line);
        return m_kept->has(column, line) ? m_kept->coverage[m_kept->index(column, line)] : 0;
    }

private:
    // In pixels of a square around it.
    struct Circle {
        double x = 0;
        double y = 0;
        double radius = 0;
        bool operator==(const Circle &) const = default;

        Row row(int y, double left, double right) const;
        unsigned coverage(int x, int y) const;
    };

    struct Kept {
        explicit Kept(const Circle &circle);

        bool has(int column, int line) const {
            return line >= 0 && line < side && column >= 0 && column < side;
        }
        std::size_t index(int column, int line) const {
            return static_cast<std::size_t>(line) * static_cast<std::size_t>(side) +
                   static_cast<std::size_t>(column);
        }

        Circle circle;
        int side;
        std::vector<Row> rows;
        std::vector<std::uint8_t> coverage;
    };

    Circle m_circle;
    int m_left = 0; // Of the square.
    int m_top = 0;
    std::shared_ptr<const Kept> m_kept; // None for discs far larger than any effect.
};

} // namespace companion
