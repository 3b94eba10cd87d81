#pragma once

#include "core/Lifetime.h"
#include "settings/ConfigManager.h"

#include <QPointer>

#include <cstdint>
#include <functional>
#include <memory>

#include <QWidget>

namespace Ui {
class Main;
}

namespace companion {

class MainQueue;
class NotificationCenter;
class SettingControls;

// The content of the settings window. Each control writes straight into the settings record and saves it; the
// overlay takes the new values when it next reads them, since nothing here posts a refresh.
//
// Fresh at every opening. While it lives it follows the presenter's mode key and the receiver's presence; the
// receiver counts as present until a post says otherwise, or none has come within the time of two polls.
class SettingViewController : public std::enable_shared_from_this<SettingViewController> {
public:
    struct Needs {
        ConfigManager &config;
        NotificationCenter &center;
        MainQueue &queue;
        std::function<void(std::int32_t minutes)> sendTimer; // Its success is nobody's business here.
    };

    // Loads the layout and fills it, which saves the record once. A stored language index that is none is a
    // log line, and the window has the layout's own captions.
    static std::shared_ptr<SettingViewController> create(const Needs &needs);
    ~SettingViewController();
    SettingViewController(const SettingViewController &) = delete;
    SettingViewController &operator=(const SettingViewController &) = delete;

    // Owned by the controller: whoever places it elsewhere takes it out again first.
    QWidget &view() const { return *m_view; }

    // The way in for the keyboard, once the view is in its window.
    void focusMode();

    void viewWillAppear() {} // All was made ready when the layout was loaded.

    // Those that belong to the view.
    void closeDialogs();

    void setRepresentedObject(const std::shared_ptr<void> &) {} // The controller stands for itself.

private:
    explicit SettingViewController(const Needs &needs);

    void viewDidLoad();
    void initView();
    void initData();

    void setTypeBtnState();
    void mouseTypeSwitch();

    void setLanguageBtnState();
    void languageBtnClick();
    void setUILanguage();
    void nameControlsForScreenReaders();
    void describePreview();
    void makeRoomForEveryLanguage();
    void awaitReceiver();

    void timeStepperAction();
    void timeSetAction();

    void deviceConnected();
    void deviceDisconnected();
    void willClose();

    Needs m_needs;
    std::unique_ptr<Ui::Main> m_ui;
    std::unique_ptr<SettingControls> m_controls;
    std::unique_ptr<QWidget> m_view; // Goes before what its signals reach.
    bool m_receiverHeardOf = false;
    QPointer<QWidget> m_focusBelowPanel;
    Lifetime m_lifetime;
};

} // namespace companion
