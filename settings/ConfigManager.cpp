#include "settings/ConfigManager.h"

#include "core/Log.h"
#include "core/Shared.h"
#include "settings/SettingsStore.h"
#include "settings/StoredValues.h"

#include <variant>

namespace companion {
namespace {

// Absent keys, and texts that are no number, give the default.
template <class T, class Parse>
T numberOr(const std::optional<QString> &text, T absent, const char *key, Parse parse) {
    if (!text)
        return absent;
    const std::optional<T> value = parse(*text);
    if (!value)
        Log::line(QStringLiteral("settings: %1=%2 is not a number; using the default")
                      .arg(QLatin1String(key), text->left(40))
                      .toStdString());
    return value.value_or(absent);
}

} // namespace

// The keys in the order in which they are loaded and saved.
struct ConfigManager::Row {
    template <class T>
    struct Field {
        T ConfigManager::*member;
        T absent;
    };
    const char *key;
    std::variant<Field<std::uint64_t>, Field<std::int64_t>, Field<double>, Field<std::optional<Color>>> field;

    void load(ConfigManager &to) const {
        const auto text = to.m_store.value(QLatin1String(key));
        std::visit([&](const auto &f) { to.*f.member = read(f, text); }, field);
    }
    void save(const ConfigManager &from) const {
        const auto text = std::visit([&](const auto &f) { return write(from.*f.member); }, field);
        from.m_store.setValue(QLatin1String(key), text);
    }

private:
    std::uint64_t read(const Field<std::uint64_t> &f, const std::optional<QString> &text) const {
        return numberOr(text, f.absent, key, stored::toUnsigned);
    }
    std::int64_t read(const Field<std::int64_t> &f, const std::optional<QString> &text) const {
        return numberOr(text, f.absent, key, stored::toSigned);
    }
    // Saved in double precision, read back in single on purpose: a saved 0.2 is 0.20000000298023224
    // afterwards, while a default that was never saved stays exact.
    double read(const Field<double> &f, const std::optional<QString> &text) const {
        return numberOr(text, f.absent, key, stored::toSinglePrecision);
    }
    // A colour that does not decode becomes null, not the default, and nothing is logged.
    std::optional<Color> read(const Field<std::optional<Color>> &f,
                              const std::optional<QString> &text) const {
        return text ? stored::toColor(*text) : f.absent;
    }

    static QString write(std::uint64_t value) { return stored::fromUnsigned(value); }
    static QString write(std::int64_t value) { return stored::fromSigned(value); }
    static QString write(double value) { return stored::fromDouble(value); }
    static QString write(const std::optional<Color> &value) { return stored::fromColor(value); }
};

const ConfigManager::Row ConfigManager::kRows[] = {
    {"LOCAL_MOUSETYPE", Row::Field<std::uint64_t>{&ConfigManager::m_type, kEffectNormal}},
    {"LOCAL_MOUSESIZEVALUE", Row::Field<std::int64_t>{&ConfigManager::m_mouseSizeValue, 50}},
    // So spelled: stored settings of existing users.
    {"LOCAL_MOUSEROOMVALUE", Row::Field<std::int64_t>{&ConfigManager::m_mouseZoomValue, 50}},
    {"LOCAL_MOUSESPEEDVALUE", Row::Field<std::int64_t>{&ConfigManager::m_mouseSpeedValue, 50}},
    {"LOCAL_TIMEVALUE", Row::Field<std::int64_t>{&ConfigManager::m_timeValue, 1}},
    {"LOCAL_BACKALPHA", Row::Field<double>{&ConfigManager::m_backAlpha, 0.2}},
    {"LOCAL_FRONTALPHA", Row::Field<double>{&ConfigManager::m_frontAlpha, 0.8}},
    {"LOCAL_BACKCOLOR", Row::Field<std::optional<Color>>{&ConfigManager::m_backColor, Color{0, 0, 0, 0.2}}},
    {"LOCAL_FRONTCOLOR", Row::Field<std::optional<Color>>{&ConfigManager::m_frontColor, Color{1, 0, 0, 1}}},
};

ConfigManager::ConfigManager(SettingsStore &store) : m_store(store) {
    loadUserDefault();
}

ConfigManager &ConfigManager::sharedInstance() {
    return Shared<ConfigManager>::get();
}

void ConfigManager::loadUserDefault() {
    for (const Row &row : kRows)
        row.load(*this);
}

void ConfigManager::saveUserDefault() {
    for (const Row &row : kRows)
        row.save(*this);
    m_store
        .flush(); // One writing of the file for all nine keys, so that a complete state is on disk at once.
}

} // namespace companion
