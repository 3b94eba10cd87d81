#pragma once

#include "core/Color.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace companion {

class SettingsStore;

// Effect in force. Stored values of 4 and above are not effects and are kept as they are.
enum EffectType : std::uint64_t {
    kEffectNormal = 0,
    kEffectSpotlight = 1,
    kEffectLaser = 2,
    kEffectZoom = 3
};
inline constexpr std::uint64_t kEffectTypeCount = 4;

// The settings record. It takes whatever its writers give it: ranges are theirs. Setters neither save nor
// notify; a writer calls saveUserDefault() right after each change. Main thread only, but for
// sharedInstance().
class ConfigManager {
public:
    // Loads at once. The store must outlive the record.
    explicit ConfigManager(SettingsStore &store);

    static ConfigManager &sharedInstance();

    void loadUserDefault();
    void saveUserDefault(); // Writes all nine keys, whatever changed.

    std::uint64_t type() const { return m_type; }      // An EffectType, or any other number.
    double backAlpha() const { return m_backAlpha; }   // Opacity of the spotlight's surround, 0 to 1.
    double frontAlpha() const { return m_frontAlpha; } // Opacity of the laser dot, 0 to 1.
    std::int64_t mouseSizeValue() const { return m_mouseSizeValue; }   // Diameter of the effect in points.
    std::int64_t mouseZoomValue() const { return m_mouseZoomValue; }   // Magnification in tenths.
    std::int64_t mouseSpeedValue() const { return m_mouseSpeedValue; } // Kept, shown nowhere, sent nowhere.
    std::int64_t timeValue() const { return m_timeValue; }             // Kept for outside writers only.
    const std::optional<Color> &backColor() const { return m_backColor; }   // Null: did not decode.
    const std::optional<Color> &frontColor() const { return m_frontColor; } // Null: did not decode.

    void setType(std::uint64_t value) { m_type = value; }
    void setBackAlpha(double value) { m_backAlpha = value; }
    void setFrontAlpha(double value) { m_frontAlpha = value; }
    void setMouseSizeValue(std::int64_t value) { m_mouseSizeValue = value; }
    void setMouseZoomValue(std::int64_t value) { m_mouseZoomValue = value; }
    void setMouseSpeedValue(std::int64_t value) { m_mouseSpeedValue = value; }
    void setTimeValue(std::int64_t value) { m_timeValue = value; }
    void setBackColor(const std::optional<Color> &value) { m_backColor = value; }
    void setFrontColor(const std::optional<Color> &value) { m_frontColor = value; }

private:
    struct Row;
    static const Row kRows[];

    SettingsStore &m_store;
    std::uint64_t m_type = 0;
    double m_backAlpha = 0;
    double m_frontAlpha = 0;
    std::int64_t m_mouseSizeValue = 0;
    std::int64_t m_mouseZoomValue = 0;
    std::int64_t m_mouseSpeedValue = 0;
    std::int64_t m_timeValue = 0;
    std::optional<Color> m_backColor;
    std::optional<Color> m_frontColor;
};

} // namespace companion
