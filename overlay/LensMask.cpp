#include "overlay/LensMask.h"

#include <algorithm>

namespace companion {

void LensMask::make(const Disc &disc, const Disc &inside, const QRect &square) {
    m_lines.clear();
    m_rim.clear();
    const int left = square.left();
    for (int y = square.top(); y <= square.bottom(); ++y) {
        const Disc::Row outer = disc.row(y, left, square.right() + 1);
        const Disc::Row inner = inside.row(y, left, square.right() + 1);
        const std::size_t begin = m_rim.size();
        const auto addRim = [&](int from, int to) {
            for (int x = from; x < to; ++x) {
                const unsigned whole = disc.coverage(x, y);
                const unsigned ring = whole - std::min(whole, inside.coverage(x, y));
                m_rim.push_back(
                    {x - left, static_cast<std::uint8_t>(whole), static_cast<std::uint8_t>(ring)});
            }
        };
        const int from = std::min(inner.inside, outer.end);
        const int to = std::max(from, std::min(inner.rimRight, outer.end));
        addRim(outer.rimLeft, from);
        addRim(to, outer.end);
        m_lines.push_back({from - left, to - left, begin, m_rim.size()});
    }
}

LensMask::Row LensMask::row(int line) const {
    if (line < 0 || line >= static_cast<int>(m_lines.size()))
        return {};
    const Line &found = m_lines[static_cast<std::size_t>(line)];
    return {found.from, found.to, std::span(m_rim).subspan(found.rimBegin, found.rimEnd - found.rimBegin)};
}

} // namespace companion
