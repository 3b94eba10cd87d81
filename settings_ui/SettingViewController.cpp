#include "settings_ui/SettingViewController.h"

#include "core/Log.h"
#include "core/MainQueue.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "settings_ui/Accessibility.h"
#include "settings_ui/SettingControls.h"
#include "settings_ui/SettingLook.h"
#include "settings_ui/languages/LanguageSetting.h"
#include "ui_Main.h"

#include <QFontInfo>
#include <QPointer>
#include <QStyledItemDelegate>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace companion {
namespace {

// By effect type.
constexpr std::array kPreviewImages{"pre_wutexiao", "pre_jujiaodeng", "pre_jiguangbi", "pre_fangdajing"};
static_assert(kPreviewImages.size() == kEffectTypeCount);

// They follow the layout's German, English and French, so that an item's position is its language index.
constexpr std::array kAppendedLanguages{"Italian",   "Portugal", "Polish",  "Romanian", "Czech",
                                        "Hungarian", "Slovak",   "Spanish", "Dutch"};

struct LabelCaption {
    QLabel *Ui::Main::*label;
    const char *key;
};
constexpr LabelCaption kLabels[] = {
    {&Ui::Main::mainTitleTextField, "翻页笔设置"},
    {&Ui::Main::noneDeciveTitleTextField, "请插入设备"},
    {&Ui::Main::languageTextField, "语言"},
    {&Ui::Main::penModeTitleTextField, "模式"},
    {&Ui::Main::previewTitleTextField, "效果预览"},
    {&Ui::Main::backColorTitleTextField, "背景颜色"},
    {&Ui::Main::frontColorTitleTextField, "前景颜色"},
    {&Ui::Main::backAlphaTitleTextField, "透明度"},
    {&Ui::Main::frontAlphaTitleTextField, "透明度"},
    {&Ui::Main::mouseSizeTitleTextField, "斑点大小"},
    {&Ui::Main::mouseSpeedTitleTextField, "鼠标速度"},
    {&Ui::Main::mouseZoomLevelTitleTextField, "放大倍数"},
    {&Ui::Main::timeTitleTextField, "时间设置"},
};

template <auto Member>
QPushButton &buttonOf(const Ui::Main &ui) {
    return *(ui.*Member);
}
struct ButtonCaption {
    QPushButton &(*button)(const Ui::Main &);
    const char *key;
};
constexpr ButtonCaption kButtons[] = {
    {buttonOf<&Ui::Main::modeNormalBtn>, "正常"},    {buttonOf<&Ui::Main::modePointBtn>, "聚光"},
    {buttonOf<&Ui::Main::modeLaserBtn>, "数码激光"}, {buttonOf<&Ui::Main::modeZoomBtn>, "放大镜"},
    {buttonOf<&Ui::Main::timeSetBtn>, "设置"},
};

QString textFor(const char *key) {
    return LanguageSetting::getText(QString::fromUtf8(key)).value_or(QString());
}

constexpr auto kTwoPolls = std::chrono::milliseconds(200);

constexpr int kBesidesTheLanguage = 60; // In points, of the list's button: its arrow and its margins.

constexpr int kMessageWidth = 560; // In points, of the no-receiver message.

// Relative to the desktop's font size, which the user may have made larger.
void enlargeText(QLabel &label, double factor) {
    QFont font = label.font();
    font.setPointSizeF(QFontInfo(font).pointSizeF() * factor);
    label.setFont(font);
}

// What stands in one column, with its neighbours beginning on one line.
void alignColumn(std::initializer_list<QWidget *> column) {
    int widest = 0;
    for (const QWidget *each : column)
        widest = std::max({widest, each->minimumWidth(), each->sizeHint().width()});
    for (QWidget *each : column)
        each->setMinimumWidth(widest);
}

void makeColumnsEqual(QGridLayout &grid) {
    int widest = 0;
    for (int i = 0; i < grid.count(); ++i)
        widest = std::max(widest, grid.itemAt(i)->minimumSize().width());
    for (int column = 0; column < grid.columnCount(); ++column)
        grid.setColumnMinimumWidth(column, widest);
}

} // namespace

std::shared_ptr<SettingViewController> SettingViewController::create(const Needs &needs) {
    return std::shared_ptr<SettingViewController>(new SettingViewController(needs));
}

SettingViewController::SettingViewController(const Needs &needs)
    : m_needs(needs),
      m_ui(std::make_unique<Ui::Main>()),
      m_view(std::make_unique<QWidget>()) {
    describeForScreenReaders();
    m_ui->setupUi(m_view.get());
    viewDidLoad();
}

SettingViewController::~SettingViewController() = default;

void SettingViewController::viewDidLoad() {
    initView();
    initData();
}

void SettingViewController::initView() {
    m_view->setWindowTitle(QString());
    m_controls = std::make_unique<SettingControls>(
        *m_view, SettingOutlets::of(*m_ui), m_needs.config, SettingControls::AfterChoice::ReleaseWell,
        SettingControls::Handlers{[this] { setTypeBtnState(); }, [this] { m_ui->previewImageView->update(); },
                                  [this] { m_needs.center.post(NSWindowWillCloseNotification); }});
    m_controls->setViewColor();
    m_ui->noneDeciveBgView->setBackground(kWindowColor);
    m_ui->noneDeciveImageView->setImageName(QStringLiteral("receiver"));
    for (PictureView *faint : {m_ui->backAlphaFaint, m_ui->frontAlphaFaint})
        faint->setImageName(QStringLiteral("alphaFaint"));
    for (PictureView *solid : {m_ui->backAlphaSolid, m_ui->frontAlphaSolid})
        solid->setImageName(QStringLiteral("alphaSolid"));
    m_ui->previewImageView->setConfig(m_needs.config);

    enlargeText(*m_ui->mainTitleTextField, 1.45);
    enlargeText(*m_ui->noneDeciveTitleTextField, 1.3);

    m_controls->loadValues();
    setTypeBtnState();
    setLanguageBtnState();
    setUILanguage();
    makeRoomForEveryLanguage();

    const auto view = m_view.get();
    QObject::connect(m_ui->languageBtn, &QComboBox::activated, view, [this] { languageBtnClick(); });
    QObject::connect(m_ui->timeStepper, &QSpinBox::valueChanged, view, [this] { timeStepperAction(); });
    QObject::connect(m_ui->timeSetBtn, &QPushButton::clicked, view, [this] { timeSetAction(); });
}

void SettingViewController::closeDialogs() {
    m_controls->closeDialogs();
}

void SettingViewController::initData() {
    const auto observe = [this](std::string_view name, void (SettingViewController::*handler)()) {
        m_needs.center.addObserver(m_lifetime, name,
                                   [this, handler](const Notification &) { (this->*handler)(); });
    };
    observe(NSWindowWillCloseNotification, &SettingViewController::willClose);
    observe(LOCAL_MOUSETYPESWITCH, &SettingViewController::mouseTypeSwitch);
    observe(LOCAL_DEVICECONNECT, &SettingViewController::deviceConnected);
    observe(LOCAL_DEVICEDISCONNECT, &SettingViewController::deviceDisconnected);
    awaitReceiver();
}

// A receiver that is there tells so with every poll: the panel need not flash up first.
void SettingViewController::awaitReceiver() {
    m_needs.queue.post(kTwoPolls, m_lifetime.guard([this] {
        if (!m_receiverHeardOf)
            deviceDisconnected();
    }));
}

void SettingViewController::focusMode() {
    m_controls->modeInForce().setFocus(Qt::OtherFocusReason);
}

void SettingViewController::setTypeBtnState() {
    mouseTypeSwitch();
    m_needs.config.saveUserDefault(); // In every case: opening the window writes the settings, too.
}

// The effect controller, which registered long before, has already changed the type. Only the buttons and the
// picture follow: the size keeps what it shows although the mode key resets the record's.
void SettingViewController::mouseTypeSwitch() {
    if (const auto type = m_controls->showType())
        m_ui->previewImageView->showEffect(QLatin1String(kPreviewImages.at(*type)), *type);
    describePreview();
}

// For who does not see it.
void SettingViewController::describePreview() {
    const ModeButton &mode = m_controls->modeInForce();
    m_ui->previewImageView->setAccessibleDescription(mode.isChecked() ? mode.text() : QString());
}

void SettingViewController::setLanguageBtnState() {
    // The default delegate does not draw with the style sheet.
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the button's.
    m_ui->languageBtn->setItemDelegate(new QStyledItemDelegate(m_ui->languageBtn));
    for (const char *title : kAppendedLanguages)
        m_ui->languageBtn->addItem(QLatin1String(title));
    int widest = 0;
    for (int i = 0; i < m_ui->languageBtn->count(); ++i)
        widest = std::max(widest,
                          m_ui->languageBtn->fontMetrics().horizontalAdvance(m_ui->languageBtn->itemText(i)));
    m_ui->languageBtn->setMinimumWidth(widest + kBesidesTheLanguage);
    const std::int64_t stored = LanguageSetting::storedIndex();
    const bool language = stored >= 0 && stored < m_ui->languageBtn->count();
    m_ui->languageBtn->setCurrentIndex(language ? static_cast<int>(stored) : -1);
}

void SettingViewController::languageBtnClick() {
    const int index = m_ui->languageBtn->currentIndex();
    Log::format("选中语言:%ld", static_cast<long>(index));
    LanguageSetting::setLanguageWithIndex(index);
    setUILanguage();
}

// Where the stored index is no language, the layout's captions stay, so that the user can choose one.
void SettingViewController::setUILanguage() {
    try {
        for (const auto &[label, key] : kLabels)
            ((*m_ui).*label)->setText(textFor(key));
        for (const auto &[button, key] : kButtons)
            button(*m_ui).setText(textFor(key));
    } catch (const std::out_of_range &error) {
        Log::line(error.what());
    }
    wrapEvenly(*m_ui->noneDeciveTitleTextField, kMessageWidth);
    nameControlsForScreenReaders();
}

void SettingViewController::nameControlsForScreenReaders() {
    const auto name = [](const QString &text, std::initializer_list<QWidget *> widgets) {
        for (QWidget *widget : widgets)
            widget->setAccessibleName(text);
    };
    const auto both = [](const QLabel *first, const QLabel *second) {
        return first->text() + QStringLiteral(", ") + second->text();
    };
    m_view->window()->setAccessibleName(m_ui->mainTitleTextField->text());
    m_ui->backColorWell->setCaption(m_ui->backColorTitleTextField->text());
    m_ui->frontColorWell->setCaption(m_ui->frontColorTitleTextField->text());
    name(m_ui->penModeTitleTextField->text(), {m_ui->penModeBgView});
    name(m_ui->previewTitleTextField->text(), {m_ui->previewImageView});
    describePreview();
    name(m_ui->noneDeciveTitleTextField->text(), {m_ui->noneDeciveBgView});
    name(m_ui->languageTextField->text(), {m_ui->languageBtn});
    name(m_ui->mouseSizeTitleTextField->text(), {m_ui->mouseSizeSwitch, m_ui->mouseSizeNumber});
    name(m_ui->mouseZoomLevelTitleTextField->text(), {m_ui->mouseZoomSwitch, m_ui->mouseZoomNumber});
    name(m_ui->timeTitleTextField->text(), {m_ui->timeStepper});
    name(m_ui->backColorTitleTextField->text(), {m_ui->backColorWell});
    name(m_ui->frontColorTitleTextField->text(), {m_ui->frontColorWell});
    name(both(m_ui->backColorTitleTextField, m_ui->backAlphaTitleTextField),
         {m_ui->backAlphaSwitch, m_ui->backAlphaNumber});
    name(both(m_ui->frontColorTitleTextField, m_ui->frontAlphaTitleTextField),
         {m_ui->frontAlphaSwitch, m_ui->frontAlphaNumber});
}

void SettingViewController::makeRoomForEveryLanguage() {
    // All but those that have a line of their own anyway.
    const std::array alone{m_ui->mainTitleTextField, m_ui->noneDeciveTitleTextField,
                           m_ui->penModeTitleTextField, m_ui->previewTitleTextField};
    for (const auto &[label, key] : kLabels)
        if (std::find(alone.begin(), alone.end(), (*m_ui).*label) == alone.end())
            reserveWidth(*((*m_ui).*label), QString::fromUtf8(key));
    for (const auto &[button, key] : kButtons)
        reserveWidth(button(*m_ui), QString::fromUtf8(key));
    alignColumn(
        {m_ui->mouseSizeTitleTextField, m_ui->mouseZoomLevelTitleTextField, m_ui->timeTitleTextField});
    alignColumn({m_ui->backAlphaTitleTextField, m_ui->frontAlphaTitleTextField});
    alignColumn({m_ui->mouseSizeNumber, m_ui->mouseZoomNumber});
    alignColumn({m_ui->backAlphaNumber, m_ui->frontAlphaNumber});
    for (QLayout *layout : m_view->findChildren<QLayout *>())
        layout->invalidate(); // Hidden pages do not hear of their widgets' new sizes by themselves.
    makeColumnsEqual(*m_ui->contentLayout);
    // The no-receiver panel stands in the content's place, and must not make the window smaller.
    m_ui->contentStack->setMinimumSize(m_ui->contentLayout->totalMinimumSize());
}

void SettingViewController::timeStepperAction() {
    m_ui->timeCountTextField->setText(QString::number(m_ui->timeStepper->value()));
}

void SettingViewController::timeSetAction() {
    m_needs.sendTimer(m_ui->timeStepper->value());

    // Disabling would push the keyboard focus on to the next control for good.
    const bool focused = m_ui->timeSetBtn->hasFocus();
    m_ui->timeSetBtn->setEnabled(false);
    const QPointer<QWidget> pushedTo = focused ? m_view->window()->focusWidget() : nullptr;
    m_needs.queue.post(std::chrono::milliseconds(500), [self = shared_from_this(), pushedTo] {
        self->m_ui->timeSetBtn->setEnabled(true);
        if (pushedTo != nullptr && pushedTo == self->m_view->window()->focusWidget())
            self->m_ui->timeSetBtn->setFocus();
    });
}

void SettingViewController::deviceConnected() {
    m_receiverHeardOf = true;
    m_ui->contentStack->setCurrentWidget(m_ui->contentView);
    if (m_focusBelowPanel != nullptr && m_view->window()->focusWidget() == m_ui->languageBtn)
        m_focusBelowPanel->setFocus(Qt::OtherFocusReason);
    m_focusBelowPanel = nullptr;
}

void SettingViewController::deviceDisconnected() {
    m_receiverHeardOf = true;
    QWidget *focused = m_view->window()->focusWidget();
    if (focused != nullptr && m_ui->contentView->isAncestorOf(focused))
        m_focusBelowPanel = focused;
    m_ui->contentStack->setCurrentWidget(m_ui->noneDeciveBgView);
    if (m_focusBelowPanel != nullptr)
        m_ui->languageBtn->setFocus(Qt::OtherFocusReason);
}

void SettingViewController::willClose() {
    Log::line("窗口关闭"); // Also when it is another window of the program that closes.
}

} // namespace companion
