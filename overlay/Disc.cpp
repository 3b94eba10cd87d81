#include "overlay/Disc.h"

#include <algorithm>
#include <cmath>

namespace companion {
namespace {

// A pixel whose centre is further from the circle than half its diagonal is not cut by it.
constexpr double kHalfDiagonal = 0.7072;

// Larger discs are evaluated pixel by pixel: no setting of the program's own makes one.
constexpr double kMostKeptRadius = 512;

// Places within a pixel that are told apart. Far finer than a step of coverage, and coarse enough that
// scaling to and fro between points and pixels lands on the same one.
constexpr double kPhases = 4096;

double halfChord(double radius, double distance) {
    return std::sqrt(std::max(0.0, radius * radius - distance * distance));
}

double phase(double place) {
    return std::round(place * kPhases) / kPhases;
}

} // namespace

Disc::Row Disc::Circle::row(int line, double left, double right) const {
    const auto column = [&](double place) { return static_cast<int>(std::clamp(place, left, right)); };
    const int none = column(right);
    const double distance = std::abs(line + 0.5 - y);
    const double outerRadius = radius + kHalfDiagonal;
    if (!(radius > 0) || distance >= outerRadius)
        return {none, none, none, none};
    const double outer = halfChord(outerRadius, distance);
    const double innerRadius = radius - kHalfDiagonal;
    const double inner = innerRadius > distance ? halfChord(innerRadius, distance) : 0;
    // Pixel x has its centre at x + 0.5.
    Row row{column(std::ceil(x - outer - 0.5)), column(std::ceil(x - inner - 0.5)),
            column(std::floor(x + inner + 0.5)), column(std::floor(x + outer + 0.5))};
    row.rimRight = std::max(row.rimRight, row.inside);
    row.end = std::max(row.end, row.rimRight);
    if (inner == 0)
        row.inside = row.rimRight = row.rimLeft; // All rim.
    return row;
}

unsigned Disc::Circle::coverage(int column, int line) const {
    const double distance = std::hypot(column + 0.5 - x, line + 0.5 - y);
    return static_cast<unsigned>(std::lround(std::clamp(radius - distance + 0.5, 0.0, 1.0) * 255));
}

Disc::Kept::Kept(const Circle &kept)
    : circle(kept),
      side(static_cast<int>(std::ceil(std::max(kept.x, kept.y) + kept.radius + 2))) {
    const auto count = static_cast<std::size_t>(side);
    rows.reserve(count);
    coverage.assign(count * count, 0);
    for (int line = 0; line < side; ++line) {
        const Row row = rows.emplace_back(circle.row(line, 0, side));
        for (int column = row.rimLeft; column < row.end; ++column)
            coverage[index(column, line)] = column >= row.inside && column < row.rimRight
                                                ? std::uint8_t{255}
                                                : static_cast<std::uint8_t>(circle.coverage(column, line));
    }
}

bool Disc::moveTo(const QRectF &square) {
    const QPointF centre = square.center();
    const double radius = square.width() / 2;
    if (!(radius > 0 && radius <= kMostKeptRadius)) {
        m_kept.reset();
        m_left = m_top = 0;
        m_circle = {centre.x(), centre.y(), radius};
        return true;
    }
    // The circle's place in a square of whole pixels, with a margin for the rim.
    const double left = std::floor(centre.x() - radius) - 1;
    const double top = std::floor(centre.y() - radius) - 1;
    m_left = static_cast<int>(left);
    m_top = static_cast<int>(top);
    m_circle = {phase(centre.x() - left), phase(centre.y() - top), radius};
    if (m_kept && m_kept->circle == m_circle)
        return false;
    m_kept = std::make_shared<const Kept>(m_circle);
    return true;
}

Disc::Row Disc::row(int y, int left, int right) const {
    const int line = y - m_top;
    if (!m_kept)
        return m_circle.row(line, left - m_left, right - m_left);
    if (line < 0 || line >= m_kept->side)
        return {right, right, right, right};
    Row row = m_kept->rows[static_cast<std::size_t>(line)];
    for (int *column : {&row.rimLeft, &row.inside, &row.rimRight, &row.end})
        *column = std::clamp(*column + m_left, left, right);
    return row;
}

} // namespace companion
