#include "settings/StoredValues.h"

#include <QStringList>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace companion::stored {
namespace {

const QLatin1String kColorSpace("srgb");

// The whole number that the text starts with, and nothing else of it.
template <class Number>
std::optional<Number> leadingNumber(const std::string &text) {
    Number value{};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        return text.starts_with('-') ? std::numeric_limits<Number>::lowest()
                                     : std::numeric_limits<Number>::max();
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

} // namespace

QString fromUnsigned(std::uint64_t value) {
    return QString::number(value);
}

QString fromSigned(std::int64_t value) {
    return QString::number(value);
}

QString fromDouble(double value) {
    std::array<char, 32> text{}; // The shortest text that reads back as the same double.
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return QString::fromLatin1(text.data(), end - text.data());
}

QString fromColor(const std::optional<Color> &value) {
    if (!value)
        return {};
    return QStringList{kColorSpace, fromDouble(value->red), fromDouble(value->green), fromDouble(value->blue),
                       fromDouble(value->alpha)}
        .join(QLatin1Char(' '));
}

std::optional<std::int64_t> toSigned(const QString &text) {
    return leadingNumber<std::int64_t>(text.trimmed().toStdString());
}

std::optional<std::uint64_t> toUnsigned(const QString &text) {
    const std::string trimmed = text.trimmed().toStdString();
    if (trimmed.starts_with('-')) {
        const auto value = leadingNumber<std::int64_t>(trimmed);
        return value ? std::optional(static_cast<std::uint64_t>(*value)) : std::nullopt;
    }
    return leadingNumber<std::uint64_t>(trimmed);
}

std::optional<double> toSinglePrecision(const QString &text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok); // In the C locale, whatever the user's.
    return ok ? std::optional(static_cast<double>(static_cast<float>(value))) : std::nullopt;
}

std::optional<Color> toColor(const QString &text) {
    const QStringList parts = text.simplified().split(QLatin1Char(' '));
    if (parts.size() != 5 || parts.first() != kColorSpace)
        return std::nullopt;
    std::array<double, 4> components{};
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        components[static_cast<std::size_t>(i)] = parts[i + 1].toDouble(&ok);
        if (!ok || !std::isfinite(components[static_cast<std::size_t>(i)]))
            return std::nullopt;
    }
    return Color{components[0], components[1], components[2], components[3]};
}

} // namespace companion::stored
