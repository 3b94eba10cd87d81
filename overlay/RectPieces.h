#pragma once

#include <QRect>

#include <vector>

namespace companion {

// Takes `hole` out of every rectangle of the list; what is left are again rectangles, disjoint if they were.
// Allocates only while the list grows beyond what it ever held.
void subtract(std::vector<QRect> &pieces, const QRect &hole);

// Makes the list cover `area` too, with rectangles that do not overlap those already in it.
void addDisjoint(std::vector<QRect> &pieces, const QRect &area, std::vector<QRect> &scratch);

} // namespace companion
