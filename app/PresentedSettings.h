#pragma once

#include "overlay/PresentedController.h"
#include "settings_ui/SettingWindowController.h"

#include <memory>

namespace companion {

class OverlaySurface;

// The settings window as something that the effect controller puts up and takes down.
class PresentedSettings final : public PresentedController {
public:
    // Opens a window with fresh content, above the overlay. Null, with a log line, when the stored language
    // is none.
    static std::shared_ptr<PresentedSettings> open(const SettingWindowController::Needs &needs,
                                                   OverlaySurface &overlay);

    void bringToFront() { m_window.show(); }

    bool isPresented() const override { return m_window.isPresented(); }
    void dismiss() override { m_window.dismiss(); }
    std::string description() const override { return "SettingViewController"; }

    explicit PresentedSettings(const SettingWindowController::Needs &needs);

private:
    SettingWindowController m_window;
};

} // namespace companion
