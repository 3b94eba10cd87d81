#include "app/AppDelegate.h"

#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "platform/ports/Tray.h"

namespace companion {

AppDelegate::AppDelegate(NotificationCenter &center, std::unique_ptr<Tray> tray, std::function<void()> quit)
    : m_center(center),
      m_statusItem(std::move(tray)),
      m_quit(std::move(quit)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    m_statusItem->setAction([this] { statusBtnClick(); });
    m_statusItem->show("statusBarLogo", "Options",
                       {{"Ver 1.0", nullptr},
                        {"Setting", [this] { gotoSettingWindowAction(); }},
                        {"Quit", [this] { quitAppAction(); }}});
}

void AppDelegate::setPanelFrontAction() {
    m_center.post(SYSTEM_SETWINDOWLEVEL, 1);
}

void AppDelegate::setPanelBackAction() {
    m_center.post(SYSTEM_SETWINDOWLEVEL, 0);
}

void AppDelegate::gotoSettingWindowAction() {
    m_center.post(SYSTEM_SHOWSETTINGPAGE);
}

void AppDelegate::quitAppAction() {
    m_quit();
}

void AppDelegate::setStatusItem(std::unique_ptr<Tray> item) {
    m_statusItem = std::move(item);
}

} // namespace companion
