#pragma once

#include "settings_ui/SettingViewController.h"

#include <QWidget>
#include <QWindow>

#include <functional>
#include <memory>

namespace companion {

class SettingWindow;

// The settings window: opened, brought to the front, dismissed. It blocks no other window.
//
// It may be dismissed or destroyed at any time, from a notification that it or anybody else is posting and
// from its own handlers included; the window itself then goes at the next turn of the event loop.
class SettingWindowController {
public:
    static constexpr int kLevel = 1003; // Above the overlay's 1000 and 1002.

    using Needs = SettingViewController::Needs;

    // `closedByUser` runs after the window has closed by the user's doing, not after dismiss().
    SettingWindowController(const Needs &needs, std::function<void()> closedByUser);
    ~SettingWindowController();
    SettingWindowController(const SettingWindowController &) = delete;
    SettingWindowController &operator=(const SettingWindowController &) = delete;

    // Makes the window, with fresh content and centred on the screen with the pointer, unless there is one.
    void load();

    // Shows it, loaded first if need be, or brings the open one to the front; it gets the keyboard either
    // way.
    void show();

    // The next show() makes it a dialog of another program's full-screen window, which window managers put
    // above that and give the keyboard. Until then it is off the screen.
    void belongTo(WId fullScreenWindow);

    // Closes the window, if there is one, and posts that it closes.
    void dismiss();

    bool isPresented() const { return m_window != nullptr; }

    // Null when not presented.
    QWidget *window() const;

    // The window system's identifier, so that the overlay can be stacked below; 0 when not presented.
    WId nativeWindow() const;

private:
    friend class SettingWindow;

    void windowDidLoad();
    void windowWillClose();

    // The window may be in the middle of an event when it is let go.
    struct DeleteLater {
        void operator()(SettingWindow *window) const;
    };

    Needs m_needs;
    std::function<void()> m_closedByUser;
    std::unique_ptr<QWindow> m_owner; // Another program's.
    std::unique_ptr<SettingWindow, DeleteLater> m_window;
};

} // namespace companion
