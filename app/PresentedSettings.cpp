#include "app/PresentedSettings.h"

#include "platform/ports/OverlaySurface.h"

namespace companion {

PresentedSettings::PresentedSettings(const SettingWindowController::Needs &needs, OwnWindows &windows)
    : m_windows(windows),
      m_window(needs, [] {}) {}

std::shared_ptr<PresentedSettings> PresentedSettings::open(const SettingWindowController::Needs &needs,
                                                           OverlaySurface &overlay, OwnWindows &windows,
                                                           const std::string &startupId) {
    auto settings = std::make_shared<PresentedSettings>(needs, windows);
    settings->m_window.load();
    settings->bringToFront(startupId);
    overlay.stayBelow(settings->m_window.nativeWindow());
    return settings;
}

void PresentedSettings::bringToFront(const std::string &startupId) {
    const OwnWindows::Window window = m_window.nativeWindow();
    const OwnWindows::Window owner = m_windows.owner();
    if (owner != 0 && m_windows.look(window) != OwnWindows::Sight::Seen)
        m_window.belongTo(owner);
    m_windows.announce(window, startupId);
    m_window.show();
    if (owner == 0)
        m_windows.activate(window, startupId);
    m_windows.startupEnded(startupId);
}

} // namespace companion
