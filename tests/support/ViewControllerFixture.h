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

#include <memory>
#include <optional>
#include <vector>

namespace companion {

using namespace std::chrono_literals;

inline constexpr double kWidth = 800;
inline constexpr double kHeight = 600;

class FakePresented final : public PresentedController {
public:
    bool isPresented() const override { return presented; }
    void dismiss() override { presented = false; }
    std::string description() const override { return "SettingViewController"; }
    bool presented = true;
};

// The effect controller on virtual time, with a display that is an image and a receiver in software.
class ViewControllerTest : public ::testing::Test {
protected:
    ViewControllerTest() {
        platform.fakeSurface.change({kWidth, kHeight}, 1, true);
        platform.capture.picture = QImage(int(kWidth), int(kHeight), QImage::Format_RGB32);
        platform.capture.picture.fill(0x336699);
        window.emplace(queue, center, platform.fakeSurface);
        controller.emplace(ViewController::Needs{queue, center, config, link, platform,
                                                 [](std::string_view key) {
                                                     return LanguageSetting::getText(QString::fromUtf8(
                                                         key.data(), qsizetype(key.size())));
                                                 },
                                                 [this] { return present(); }});
    }

    // As at start-up, with the receiver still unplugged so that only the test posts.
    void load() {
        receiver.unplug();
        window->windowDidLoad();
        controller->viewDidLoad();
        controller->viewDidAppear();
        queue.advance(450ms);
        log.lines.clear();
        platform.mouse.posted.clear();
        platform.fakeSurface.mouse.clear();
        platform.capture.asked = 0;
    }
    std::shared_ptr<PresentedController> present() {
        presented.push_back(std::make_shared<FakePresented>());
        return presented.back();
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
    Pixel at(int x, int y) const { return platform.fakeSurface.image.pixel(x, y); }

    LogRecorder log;
    VirtualMainQueue queue;
    NotificationCenter center;
    SettingsStore store;
    LanguageSetting::UseStore language{store};
    ConfigManager config{store};
    FakePlatform platform;
    VirtualReceiver receiver{queue};
    VirtualHidPort port{receiver};
    HidManager link{{queue, center, port, 1, 1}};
    std::optional<MainWindowController> window;
    std::optional<ViewController> controller;
    std::vector<std::shared_ptr<FakePresented>> presented;
};

} // namespace companion
