#pragma once

#include "settings/ConfigManager.h"

#include <QWidget>

#include <functional>
#include <memory>

namespace Ui {
class SettingView;
}

namespace companion {

class NotificationCenter;
class SettingControls;

// A panel with the effect settings, to be placed in the overlay. It writes and saves like the settings
// window, and it tells the overlay to refresh whenever it shows the type and when it closes. Its texts do not
// follow the language.
//
// The host places it, calls setViewData() and makes the overlay take the mouse; closing undoes the latter.
class SettingView : public QWidget {
public:
    struct Needs {
        ConfigManager &config;
        NotificationCenter &center;
        std::function<void()>
            ignoreMouseEvents; // Lets the mouse pass through the window that holds it again.
    };

    explicit SettingView(const Needs &needs, QWidget *parent = nullptr);
    ~SettingView() override;

    // Fills the panel, which saves the record and posts a refresh once.
    void setViewData();

private:
    void initView();
    void initData() {} // Observes nothing.

    void setTypeBtnState();
    void closeViewBtnClick();

    Needs m_needs;
    std::unique_ptr<Ui::SettingView> m_ui;
    std::unique_ptr<SettingControls> m_controls;
};

} // namespace companion
