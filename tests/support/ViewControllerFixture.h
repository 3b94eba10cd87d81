#pragma once

#include "app/MainWindowController.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "overlay/ViewController.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "receiver/HidManager.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "settings_ui/languages/LanguageSetting.h"
#include "support/FakePlatform.h"
#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <optional>

namespace companion {

using namespace std::chrono_literals;

// The effect controller with a display that is an image and a receiver in software.
template <class Queue>
class ViewControllerRig : public ::testing::Test {
protected:
    explicit ViewControllerRig(Size screen) {
        platform.fakeSurface.change(screen, 1, true);
        platform.capture.picture = QImage(int(screen.width), int(screen.height), QImage::Format_RGB32);
        platform.capture.picture.fill(0x336699);
        receiver.unplug(); // Only the test posts.
        controller.emplace(ViewController::Needs{queue, center, config, link, platform,
                                                 [](std::string_view key) {
                                                     return LanguageSetting::getText(QString::fromUtf8(
                                                         key.data(), qsizetype(key.size())));
                                                 },
                                                 [] { return nullptr; }});
    }

    Queue queue;
    NotificationCenter center;
    SettingsStore store;
    LanguageSetting::UseStore language{store};
    ConfigManager config{store};
    FakePlatform platform;
    VirtualReceiver receiver{queue};
    VirtualHidPort port{receiver};
    HidManager link{{queue, center, port, 1, 1}};
    std::optional<ViewController> controller;
};

inline constexpr double kWidth = 800;
inline constexpr double kHeight = 600;

// On virtual time.
class ViewControllerTest : public ViewControllerRig<VirtualMainQueue> {
protected:
    ViewControllerTest() : ViewControllerRig({kWidth, kHeight}) {
        window.emplace(queue, center, platform.fakeSurface);
    }

    // As at start-up.
    void load() {
        window->windowDidLoad();
        controller->viewDidLoad();
        controller->viewDidAppear();
        queue.advance(450ms);
        log.lines.clear();
        platform.mouse.posted.clear();
        platform.fakeSurface.mouse.clear();
        platform.capture.asked = 0;
    }
    void effectKey() { center.post(LOCAL_MOUSEEFFECTON); }
    void hold(std::chrono::milliseconds time) {
        for (auto passed = 0ms; passed < time; passed += 100ms) {
            effectKey();
            queue.advance(100ms);
        }
    }
    void moveTo(Point where) {
        platform.monitor.send(InputEventType::MouseMoved, where);
        queue.advance(0ms);
    }
    bool shown(const std::shared_ptr<View> &view) {
        return view && !view->isHidden() && view->superview() == controller->canvas().root().get();
    }
    QString hint() const {
        const auto &field = controller->effectSwitchHintTextField();
        return field->isHidden() ? QStringLiteral("(hidden)") : field->text();
    }

    LogRecorder log;
    std::optional<MainWindowController> window;
};

} // namespace companion
