#pragma once

#include "core/QtMainQueue.h"
#include "platform/ports/CursorVisibility.h"
#include "platform/ports/InputMonitor.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/x11/X11Platform.h"
#include "support/LogRecorder.h"
#include "support/rig/InputDevices.h"
#include "support/rig/TestWindow.h"
#include "x11/OverlayWindows.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

namespace companion {

inline const QRect kScreen(0, 0, 1920, 1080);
inline const std::vector<std::string> kWithoutSharedMemory{"-extension", "MIT-SHM"};

// The backend, running in the test's own process, on a bare X server of its own.
class X11Fixture : public ::testing::Test {
protected:
    void startServer(const std::vector<std::string> &options = {}) {
        desktop = std::make_unique<rig::Desktop>(rig::DesktopOptions{
            .size = kScreen.size(), .windowManager = false, .compositor = false, .serverOptions = options});
        hand = std::make_unique<rig::InputDevices>(*desktop);
        overlay = std::make_unique<OverlayWindows>(*desktop);
    }

    void startPlatform() {
        std::string error;
        platform = makeX11Platform({queue, nullptr, choice, desktop->display()}, error);
        ASSERT_NE(platform, nullptr) << error;
        surface = &platform->surface();
    }

    // With what passes for a compositor, and the overlay in front.
    void startOverlay(const std::vector<std::string> &options = {}) {
        startServer(options);
        overlay->pretendCompositor();
        startPlatform();
        surface->setLevel(1002);
    }

    // Below the overlay if that is raised, with no window manager in between.
    std::unique_ptr<rig::TestWindow> window(const QRect &area, QRgb colour) const {
        return std::make_unique<rig::TestWindow>(*desktop, rig::TestWindow::Kind::OverrideRedirect, colour,
                                                 area);
    }

    void present(const SurfaceFrame &frame, Pixel pixel = 0) {
        surface->present(frame, [pixel](const PixelPatch &patch) {
            for (int y = 0; y < patch.area.height(); ++y)
                std::fill_n(patch.pixels + std::ptrdiff_t{y} * patch.stride, patch.area.width(), pixel);
        });
    }

    // Runs the event loop until the condition holds; false after five seconds.
    static bool eventually(const std::function<bool()> &condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        QTimer tick;
        tick.start(1);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            // Blocking, as the program's own loop does.
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    LogRecorder log;
    QtMainQueue queue;
    std::unique_ptr<rig::Desktop> desktop;
    std::unique_ptr<rig::InputDevices> hand;
    std::unique_ptr<OverlayWindows> overlay;
    ScreenChoice choice;
    std::unique_ptr<Platform> platform;
    OverlaySurface *surface = nullptr;
};

} // namespace companion
