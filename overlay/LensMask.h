#pragma once

#include "overlay/Disc.h"

#include <QRect>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace companion {

// Where a lens shows its picture only, and where its ring or its edge comes in. Worked out once for a lens
// that only moves.
class LensMask {
public:
    struct RimPixel {
        int x;
        std::uint8_t disc; // Coverage by the whole lens, 0 to 255.
        std::uint8_t ring; // By the ring that lies over it.
    };
    struct Row {
        int from = 0; // Columns of nothing but picture, from `from` to before `to`.
        int to = 0;
        std::span<const RimPixel> rim; // By x, to the left and to the right of those.
    };

    // Of the ring between two discs. Columns and rows count from the square's corner.
    void make(const Disc &disc, const Disc &inside, const QRect &square);

    // Empty outside of the square.
    Row row(int line) const;

private:
    struct Line {
        int from, to;
        std::size_t rimBegin, rimEnd;
    };
    std::vector<Line> m_lines;
    std::vector<RimPixel> m_rim;
};

} // namespace companion
