// Pictures of the settings window in every language, with and without the receiver, and of the panel, for
// somebody to look at:
//   QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=1.5 settings_screenshots FOLDER
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "settings_ui/SettingView.h"
#include "settings_ui/SettingWindowController.h"
#include "settings_ui/languages/LanguageSetting.h"
#include "support/VirtualMainQueue.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmap>

#include <cstdio>

using namespace companion;

namespace {

constexpr const char *kLanguages[] = {"German",   "English", "French",    "Italian", "Portuguese", "Polish",
                                      "Romanian", "Czech",   "Hungarian", "Slovak",  "Spanish",    "Dutch"};

bool save(QWidget &widget, const QDir &folder, const QString &name) {
    QCoreApplication::processEvents();
    return widget.grab().save(folder.filePath(name + QStringLiteral(".png")));
}

} // namespace

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    if (argc != 2 || !QDir().mkpath(QFile::decodeName(argv[1]))) {
        std::fputs("usage: settings_screenshots FOLDER\n", stderr);
        return 2;
    }
    const QDir folder(QFile::decodeName(argv[1]));

    SettingsStore store;
    const LanguageSetting::UseStore use(store);
    ConfigManager config(store);
    NotificationCenter center;
    VirtualMainQueue queue;
    config.setMouseSizeValue(150);
    bool good = true;
    for (int language = 0; language < 12; ++language) {
        store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QString::number(language));
        config.setType(static_cast<std::uint64_t>(language % 4));
        SettingWindowController controller({config, center, queue, [](std::int32_t) {}}, {});
        controller.show();
        const auto name = QStringLiteral("%1-%2")
                              .arg(language, 2, 10, QLatin1Char('0'))
                              .arg(QLatin1String(kLanguages[language]));
        good = save(*controller.window(), folder, name + QStringLiteral("-no-receiver")) && good;
        center.post(LOCAL_DEVICECONNECT);
        good = save(*controller.window(), folder, name) && good;
    }
    SettingView panel({config, center, [] {}});
    panel.setViewData();
    panel.show();
    good = save(panel, folder, QStringLiteral("panel")) && good;
    return good ? 0 : 1;
}
