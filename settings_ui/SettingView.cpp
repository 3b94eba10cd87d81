#include "settings_ui/SettingView.h"

#include "core/Log.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "settings_ui/SettingControls.h"
#include "ui_SettingView.h"

namespace companion {

SettingView::SettingView(const Needs &needs, QWidget *parent)
    : QWidget(parent),
      m_needs(needs),
      m_ui(std::make_unique<Ui::SettingView>()) {
    m_ui->setupUi(this);
    m_ui->mouseSizeIcon->setImageName(QStringLiteral("rowSize"));
    m_ui->mouseZoomIcon->setImageName(QStringLiteral("rowZoom"));
    m_ui->backAlphaIcon->setImageName(QStringLiteral("rowAlpha"));
    m_ui->frontAlphaIcon->setImageName(QStringLiteral("rowAlpha"));

    // The wells stay active after a choice, other than the window's.
    m_controls = std::make_unique<SettingControls>(
        *this, SettingOutlets::of(*m_ui), m_needs.config, SettingControls::AfterChoice::KeepWellActive,
        SettingControls::Handlers{[this] { setTypeBtnState(); },
                                  {},
                                  [this] { m_needs.center.post(NSWindowWillCloseNotification); }});
    connect(m_ui->closeViewBtn, &QPushButton::clicked, this, [this] { closeViewBtnClick(); });
}

SettingView::~SettingView() {
    hide(); // A number that is being typed is taken while there is still somebody to take it.
}

void SettingView::setViewData() {
    initView();
    initData();
}

void SettingView::initView() {
    m_controls->setViewColor();
    m_ui->bgView->setCornerRadius(6);
    m_controls->loadValues();
    setTypeBtnState();
}

void SettingView::setTypeBtnState() {
    m_controls->showType();
    m_needs.config.saveUserDefault();
    m_needs.center.post(NOTIFY_REFRESHPEN);
}

void SettingView::closeViewBtnClick() {
    Log::line("窗口关闭");
    m_controls->closeDialogs();
    m_needs.ignoreMouseEvents();
    hide();
    setParent(nullptr);
    m_needs.center.post(NOTIFY_REFRESHPEN);
}

} // namespace companion
