#pragma once

#include "core/Color.h"

#include <QString>

#include <cstdint>
#include <optional>

// How values are written in the store. Every text written reads back as the same value.
namespace companion::stored {

QString fromUnsigned(std::uint64_t value);
QString fromSigned(std::int64_t value);
QString fromDouble(double value);
QString fromColor(const std::optional<Color> &value); // "srgb R G B A"; null is an empty text.

// Integers: a leading number counts, a fraction is cut off, too large a number becomes the nearest that fits.
// Null when the text does not start with a number.
std::optional<std::int64_t> toSigned(const QString &text);
std::optional<std::uint64_t> toUnsigned(const QString &text); // A negative number wraps round.

// Read in single precision and widened. Null when the text is no number; "nan" and "inf" are numbers.
std::optional<double> toSinglePrecision(const QString &text);

std::optional<Color> toColor(const QString &text); // Null when it does not decode.

} // namespace companion::stored
