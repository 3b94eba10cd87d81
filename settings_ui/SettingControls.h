#pragma once

#include "core/Color.h"
#include "settings/ConfigManager.h"
#include "settings_ui/InputHabits.h"

#include <QString>

#include <array>
#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QSlider;
class QSpinBox;
class QWidget;

namespace companion {

class ColorWell;
class ModeButton;
class PlainView;

// A whole number with a range: a slider, and the same number beside it to be typed. The range stands in the
// layout.
struct IntegerControl {
    QSlider *slider;
    QSpinBox *number;
};

// What both layouts, the window's and the panel's, have under the same names.
struct SettingOutlets {
    PlainView *bgView;
    std::array<ModeButton *, kEffectTypeCount> modes; // By effect type.
    IntegerControl mouseSize, mouseZoom, mouseSpeed, backAlpha, frontAlpha;
    ColorWell *backColorWell, *frontColorWell;
    PlainView *previewView, *backColorPreviewView, *frontColorPreviewView, *mouseSpeedBgView;
    QLabel *penModeTitle, *previewTitle;
    PlainView *penModeBgView, *previewBgView;
    std::vector<PlainView *> frames;

    template <class Ui>
    static SettingOutlets of(const Ui &ui) {
        return {ui.bgView,
                {ui.modeNormalBtn, ui.modePointBtn, ui.modeLaserBtn, ui.modeZoomBtn},
                {ui.mouseSizeSwitch, ui.mouseSizeNumber},
                {ui.mouseZoomSwitch, ui.mouseZoomNumber},
                {ui.mouseSpeedSwitch, ui.mouseSpeedNumber},
                {ui.backAlphaSwitch, ui.backAlphaNumber},
                {ui.frontAlphaSwitch, ui.frontAlphaNumber},
                ui.backColorWell,
                ui.frontColorWell,
                ui.previewView,
                ui.backColorPreviewView,
                ui.frontColorPreviewView,
                ui.mouseSpeedBgView,
                ui.penModeTitleTextField,
                ui.previewTitleTextField,
                ui.penModeBgView,
                ui.previewBgView,
                {ui.penModeBgView, ui.previewBgView, ui.backColorBgView, ui.frontColorBgView,
                 ui.mouseSizeBgView, ui.mouseZoomLevelBgView, ui.timeBgView, ui.mouseSpeedBgView}};
    }
};

// What the settings window and the settings panel do alike: their look, and the controls that write into the
// settings record and save it at once. They post nothing and clamp nothing by themselves.
class SettingControls {
public:
    // What happens to a colour well once a colour was chosen.
    enum class AfterChoice { ReleaseWell, KeepWellActive };

    struct Handlers {
        std::function<void()> typeChosen;   // After a mode button has set the record's type.
        std::function<void()> valueChanged; // After a value or a colour has been stored.
        std::function<void()> dialogClosed; // After a colour dialog has closed, for whatever reason.
    };

    // The record and the outlets must outlive the object; `root` is the view that holds the outlets.
    SettingControls(QWidget &root, SettingOutlets outlets, ConfigManager &config, AfterChoice afterChoice,
                    Handlers handlers);

    void setViewColor();

    // What the layout's controls do.
    void typeNormalBtnClick() { choose(kEffectNormal); }
    void typePointBtnClick() { choose(kEffectSpotlight); }
    void typeLaserBtnClick() { choose(kEffectLaser); }
    void typeZoomBtnClick() { choose(kEffectZoom); }
    void mouseSizeSwitchValueChanged();
    void mouseZoomSwitchValueChanged();
    void mouseSpeedSwitchValueChanged();
    void backAlphaSwitchValueChanged();
    void frontAlphaSwitchValueChanged();
    void backColorWellSelected();
    void frontColorWellSelected();

    // Shows the record's values. A value that a control's range does not hold is shown as the nearest one and
    // stays as it is in the record.
    void loadValues();

    // Presses the button of the record's type; null, and no button, when it is no effect.
    std::optional<EffectType> showType();

    // The button of the type that is shown, the first one without any: the keyboard's way into the modes.
    ModeButton &modeInForce() const;

    // They belong to the view and close with it.
    void closeDialogs();

private:
    using Action = void (SettingControls::*)();

    void choose(EffectType type);
    void bind(ModeButton &mode, Action action);
    void bind(const IntegerControl &control, Action action);
    void bind(ColorWell &well, Action action);
    void selected(ColorWell &well);
    void save();

    QWidget &m_root;
    SettingOutlets m_outlets;
    ConfigManager &m_config;
    AfterChoice m_afterChoice;
    Handlers m_handlers;
    InputHabits m_habits;
};

// A percentage as a fraction. The division is in single precision: 35 becomes 0.3499999940395355.
double alphaFromPercent(int percent);

// A fraction as a percentage, cut off towards zero, so that some percentages read back one lower. NaN is 0.
std::int64_t percentFromAlpha(double alpha);

} // namespace companion
