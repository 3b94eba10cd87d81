#include "app/PresentedSettings.h"

#include "core/Log.h"
#include "platform/ports/OverlaySurface.h"

#include <stdexcept>

namespace companion {

PresentedSettings::PresentedSettings(const SettingWindowController::Needs &needs) : m_window(needs, [] {}) {}

std::shared_ptr<PresentedSettings> PresentedSettings::open(const SettingWindowController::Needs &needs,
                                                           OverlaySurface &overlay) {
    auto settings = std::make_shared<PresentedSettings>(needs);
    try {
        settings->m_window.show();
    } catch (const std::out_of_range &error) {
        Log::line(error.what()); // A damaged language setting must not end a talk.
        return nullptr;
    }
    overlay.stayBelow(settings->m_window.nativeWindow());
    return settings;
}

} // namespace companion
