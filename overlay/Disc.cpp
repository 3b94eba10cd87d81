#include "overlay/Disc.h"

#include <algorithm>
#include <cmath>

namespace companion {
namespace {

// A pixel whose centre is further from the circle than half its diagonal is not cut by it.
constexpr double kHalfDiagonal = 0.7072;

double halfChord(double radius, double distance) {
    return std::sqrt(std::max(0.0, radius * radius - distance * distance));
}

} // namespace

Disc::Disc(const QRectF &square)
    : m_centreX(square.center().x()),
      m_centreY(square.center().y()),
      m_radius(square.width() / 2) {}

Disc::Row Disc::row(int y, int left, int right) const {
    const double distance = std::abs(y + 0.5 - m_centreY);
    const double outerRadius = m_radius + kHalfDiagonal;
    if (!(m_radius > 0) || distance >= outerRadius)
        return {right, right, right, right};
    const double outer = halfChord(outerRadius, distance);
    const double innerRadius = m_radius - kHalfDiagonal;
    const double inner = innerRadius > distance ? halfChord(innerRadius, distance) : 0;
    const auto column = [&](double x) {
        return static_cast<int>(std::clamp(x, double(left), double(right)));
    };
    // Pixel x has its centre at x + 0.5.
    Row row{column(std::ceil(m_centreX - outer - 0.5)), column(std::ceil(m_centreX - inner - 0.5)),
            column(std::floor(m_centreX + inner + 0.5)), column(std::floor(m_centreX + outer + 0.5))};
    row.rimRight = std::max(row.rimRight, row.inside);
    row.end = std::max(row.end, row.rimRight);
    if (inner == 0)
        row.inside = row.rimRight = row.rimLeft; // All rim.
    return row;
}

unsigned Disc::coverage(int x, int y) const {
    const double distance = std::hypot(x + 0.5 - m_centreX, y + 0.5 - m_centreY);
    return static_cast<unsigned>(std::lround(std::clamp(m_radius - distance + 0.5, 0.0, 1.0) * 255));
}

} // namespace companion
