#include "settings_ui/SettingControls.h"

#include "settings_ui/ColorWell.h"
#include "settings_ui/ModeButton.h"
#include "settings_ui/PlainView.h"
#include "settings_ui/SettingLook.h"

#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace companion {
namespace {

// By effect type.
constexpr std::array kGlyphs{"modeNormal", "modePoint", "modeLaser", "modeZoom"};

// Without reporting a change: what is shown must not be written back.
void show(const IntegerControl &control, std::int64_t value) {
    const QSignalBlocker quietSlider(control.slider);
    const QSignalBlocker quietNumber(control.number);
    const auto nearest = static_cast<int>(
        std::clamp<std::int64_t>(value, control.slider->minimum(), control.slider->maximum()));
    control.slider->setValue(nearest);
    control.number->setValue(nearest);
}

} // namespace

double alphaFromPercent(int percent) {
    return static_cast<double>(static_cast<float>(percent) / 100.0F);
}

std::int64_t percentFromAlpha(double alpha) {
    constexpr double kFar = 1e9; // Beyond every control's range, and safe to convert.
    const double percent = alpha * 100.0;
    return std::isnan(percent) ? 0 : static_cast<std::int64_t>(std::clamp(percent, -kFar, kFar));
}

SettingControls::SettingControls(QWidget &root, SettingOutlets outlets, ConfigManager &config,
                                 AfterChoice afterChoice, Handlers handlers)
    : m_root(root),
      m_outlets(std::move(outlets)),
      m_config(config),
      m_afterChoice(afterChoice),
      m_handlers(std::move(handlers)),
      m_habits(root) {
    for (std::size_t type = 0; type < kEffectTypeCount; ++type)
        m_outlets.modes[type]->setGlyph(QLatin1String(kGlyphs.at(type)));
    // No button group: a type that is no effect leaves all four off.
    bind(*m_outlets.modes[kEffectNormal], &SettingControls::typeNormalBtnClick);
    bind(*m_outlets.modes[kEffectSpotlight], &SettingControls::typePointBtnClick);
    bind(*m_outlets.modes[kEffectLaser], &SettingControls::typeLaserBtnClick);
    bind(*m_outlets.modes[kEffectZoom], &SettingControls::typeZoomBtnClick);
    bind(m_outlets.mouseSize, &SettingControls::mouseSizeSwitchValueChanged);
    bind(m_outlets.mouseZoom, &SettingControls::mouseZoomSwitchValueChanged);
    m_outlets.mouseZoom.slider->setProperty("a11yUnit", QStringLiteral("×"));
    m_outlets.mouseZoom.slider->setProperty("a11yStepsPerUnit", 10); // It counts tenths.
    bind(m_outlets.mouseSpeed, &SettingControls::mouseSpeedSwitchValueChanged);
    bind(m_outlets.backAlpha, &SettingControls::backAlphaSwitchValueChanged);
    bind(m_outlets.frontAlpha, &SettingControls::frontAlphaSwitchValueChanged);
    bind(*m_outlets.backColorWell, &SettingControls::backColorWellSelected);
    bind(*m_outlets.frontColorWell, &SettingControls::frontColorWellSelected);
}

void SettingControls::bind(ModeButton &mode, Action action) {
    QObject::connect(&mode, &QPushButton::clicked, &m_root, [this, action] { (this->*action)(); });
}

void SettingControls::bind(const IntegerControl &control, Action action) {
    InputHabits::join(*control.slider, *control.number);
    QObject::connect(control.number, &QSpinBox::valueChanged, control.slider, &QSlider::setValue);
    // Not while it is typed there: setting it would rewrite the text.
    QObject::connect(control.slider, &QSlider::valueChanged, control.number,
                     [number = control.number](int value) {
                         if (number->value() != value)
                             number->setValue(value);
                     });
    QObject::connect(control.slider, &QSlider::valueChanged, &m_root, [this, action] { (this->*action)(); });
}

void SettingControls::bind(ColorWell &well, Action action) {
    const bool release = m_afterChoice == AfterChoice::ReleaseWell;
    well.setChoice(release ? ColorWell::Choice::OnAccept : ColorWell::Choice::OnEveryPick);
    well.onSelected([this, action] { (this->*action)(); });
    well.onDialogClosed(m_handlers.dialogClosed);
}

void SettingControls::choose(EffectType type) {
    m_config.setType(type);
    m_handlers.typeChosen();
}

void SettingControls::mouseSizeSwitchValueChanged() {
    m_config.setMouseSizeValue(m_outlets.mouseSize.slider->value());
    save();
}

void SettingControls::mouseZoomSwitchValueChanged() {
    m_config.setMouseZoomValue(m_outlets.mouseZoom.slider->value());
    save();
}

void SettingControls::mouseSpeedSwitchValueChanged() {
    m_config.setMouseSpeedValue(m_outlets.mouseSpeed.slider->value());
    save();
}

void SettingControls::backAlphaSwitchValueChanged() {
    m_config.setBackAlpha(alphaFromPercent(m_outlets.backAlpha.slider->value()));
    save();
}

void SettingControls::frontAlphaSwitchValueChanged() {
    m_config.setFrontAlpha(alphaFromPercent(m_outlets.frontAlpha.slider->value()));
    save();
}

void SettingControls::backColorWellSelected() {
    m_config.setBackColor(m_outlets.backColorWell->color());
    selected(*m_outlets.backColorWell);
}

void SettingControls::frontColorWellSelected() {
    m_config.setFrontColor(m_outlets.frontColorWell->color());
    selected(*m_outlets.frontColorWell);
}

void SettingControls::selected(ColorWell &well) {
    save();
    if (m_afterChoice == AfterChoice::ReleaseWell)
        well.deactivate();
}

void SettingControls::save() {
    m_config.saveUserDefault();
    if (m_handlers.valueChanged)
        m_handlers.valueChanged();
}

void SettingControls::closeDialogs() {
    m_outlets.backColorWell->deactivate();
    m_outlets.frontColorWell->deactivate();
}

void SettingControls::setViewColor() {
    applyLook(m_root);
    m_outlets.bgView->setBackground(kWindowColor);
    for (QLabel *caption : {m_outlets.penModeTitle, m_outlets.previewTitle})
        captionOnFrameLine(*caption);
    m_outlets.penModeBgView->setCaption(m_outlets.penModeTitle);
    m_outlets.previewBgView->setCaption(m_outlets.previewTitle);
    for (PlainView *frame : m_outlets.frames)
        frame->setBorder(Qt::white);
    // Fixed: the swatches never show the chosen colours.
    m_outlets.previewView->setBackground(Qt::blue);
    m_outlets.backColorPreviewView->setBackground(Qt::black);
    m_outlets.frontColorPreviewView->setBackground(Qt::red);
}

void SettingControls::loadValues() {
    show(m_outlets.mouseSize, m_config.mouseSizeValue());
    show(m_outlets.mouseZoom, m_config.mouseZoomValue());
    show(m_outlets.mouseSpeed, m_config.mouseSpeedValue());
    show(m_outlets.backAlpha, percentFromAlpha(m_config.backAlpha()));
    show(m_outlets.frontAlpha, percentFromAlpha(m_config.frontAlpha()));
    m_outlets.backColorWell->setColor(m_config.backColor());
    m_outlets.frontColorWell->setColor(m_config.frontColor());
    m_outlets.mouseSpeedBgView->hide(); // Kept for the stored value's sake, offered nowhere.
}

std::optional<EffectType> SettingControls::showType() {
    const std::uint64_t type = m_config.type();
    for (std::size_t i = 0; i < m_outlets.modes.size(); ++i)
        m_outlets.modes[i]->setChecked(i == type);
    for (ModeButton *mode : m_outlets.modes) // One stop for Tab.
        mode->setFocusPolicy(mode == &modeInForce() ? Qt::StrongFocus : Qt::ClickFocus);
    return type < kEffectTypeCount ? std::optional(static_cast<EffectType>(type)) : std::nullopt;
}

ModeButton &SettingControls::modeInForce() const {
    for (ModeButton *mode : m_outlets.modes)
        if (mode->isChecked())
            return *mode;
    return *m_outlets.modes.front();
}

} // namespace companion
