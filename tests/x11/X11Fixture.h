#pragma once

#include "core/QtMainQueue.h"
#include "platform/ports/CursorVisibility.h"
#include "platform/ports/InputMonitor.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/x11/X11Platform.h"
#include "support/LogRecorder.h"
#include "x11/XRig.h"

#include <gtest/gtest.h>

namespace companion {

// The backend on an X server of its own, with another client to be seen from.
class X11Fixture : public ::testing::Test {
protected:
    void startServer(const std::vector<std::string> &options = {}) {
        server = std::make_unique<XServer>(options);
        client = std::make_unique<XClient>(*server);
    }

    void startPlatform(double scale = 1) {
        std::string error;
        platform = makeX11Platform({queue, [scale] { return scale; }, server->displayName()}, error);
        ASSERT_NE(platform, nullptr) << error;
        surface = &platform->surface();
    }

    // With what passes for a compositor, and the overlay in front.
    void startOverlay() {
        startServer();
        client->pretendCompositor(true);
        startPlatform();
        surface->setLevel(1002);
        ASSERT_TRUE(eventually([&] { return client->isMapped(client->catcher()); }));
    }

    void present(SurfaceFrame frame, Pixel pixel = 0) {
        surface->present(frame, [pixel](const PixelPatch &patch) {
            for (int y = 0; y < patch.area.height(); ++y)
                std::fill_n(patch.pixels + std::ptrdiff_t{y} * patch.stride, patch.area.width(), pixel);
        });
    }

    std::vector<QRect> outline() { return client->shape(client->drawn(), 0); }

    LogRecorder log;
    QtMainQueue queue;
    std::unique_ptr<XServer> server;
    std::unique_ptr<XClient> client;
    std::unique_ptr<Platform> platform;
    OverlaySurface *surface = nullptr;
};

} // namespace companion
