#pragma once

#include "overlay/PresentedController.h"
#include "platform/ports/OwnWindows.h"
#include "settings_ui/SettingWindowController.h"

#include <memory>
#include <string>

namespace companion {

class OverlaySurface;

// The settings window as something that the effect controller puts up and takes down.
class PresentedSettings final : public PresentedController {
public:
    // Opens a window with fresh content, above the overlay, in front of all others as far as the window
    // manager lets it; `startupId` may be empty.
    static std::shared_ptr<PresentedSettings> open(const SettingWindowController::Needs &needs,
                                                   OverlaySurface &overlay, OwnWindows &windows,
                                                   const std::string &startupId);

    void bringToFront(const std::string &startupId);

    // 0 when it is not presented.
    OwnWindows::Window nativeWindow() const { return m_window.nativeWindow(); }

    bool isPresented() const override { return m_window.isPresented(); }
    void dismiss() override { m_window.dismiss(); }
    std::string description() const override { return "SettingViewController"; }

    PresentedSettings(const SettingWindowController::Needs &needs, OwnWindows &windows);

private:
    OwnWindows &m_windows;
    SettingWindowController m_window;
};

} // namespace companion
