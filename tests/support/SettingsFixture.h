#pragma once

#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "settings_ui/SettingWindowController.h"
#include "settings_ui/languages/LanguageSetting.h"
#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace companion {

// A settings window on a file of its own, with virtual time and a recorded timer.
class SettingsFixture : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("presenter-companion.conf"));
    LogRecorder log;
    SettingsStore store{path};
    LanguageSetting::UseStore use{store};
    ConfigManager config{store};
    NotificationCenter center;
    VirtualMainQueue queue;
    std::vector<std::int32_t> sent;
    int closedByUser = 0;
    std::unique_ptr<SettingWindowController> controller = makeController();

    std::unique_ptr<SettingWindowController> makeController() {
        return std::make_unique<SettingWindowController>(
            SettingWindowController::Needs{config, center, queue,
                                           [this](std::int32_t minutes) { sent.push_back(minutes); }},
            [this] { ++closedByUser; });
    }

    void TearDown() override {
        controller.reset();
        settle();
    }

    // With the receiver there.
    void open() {
        controller->show();
        center.post(LOCAL_DEVICECONNECT);
        settle();
    }

    void reopen() {
        controller->dismiss();
        settle();
        open();
    }

    static void settle() {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    template <class Widget = QWidget>
    Widget &find(const char *name) const {
        auto *found = dynamic_cast<Widget *>(controller->window()->findChild<QWidget *>(QLatin1String(name)));
        if (found == nullptr)
            throw std::logic_error(std::string("no such control: ") + name);
        return *found;
    }

    QByteArray fileContent() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // As another process would read it; empty when the key is not in the file.
    std::string onDisk(const char *key) const {
        for (const QByteArray &line : fileContent().split('\n'))
            if (line.startsWith(QByteArray(key) + '='))
                return line.mid(line.indexOf('=') + 1).toStdString();
        return {};
    }
};

} // namespace companion
