#include "app/ClickQuestion.h"

#include "core/QtMainQueue.h"
#include "platform/dbus/Portals.h"
#include "settings/SettingsStore.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

namespace companion {
namespace {

constexpr unsigned kRemembers = 2; // From this version of the interface on.

} // namespace

ClickPermission clickPermission() {
    return ClickPermission(QFileInfo(SettingsStore::defaultPath()).absolutePath() +
                           QStringLiteral("/click-permission"));
}

int askUserForClicks(int argumentCount, char **arguments) {
    const QCoreApplication application(argumentCount, arguments);
    if (!portalHas(kRemoteDesktopPortal, kRemembers)) {
        std::fputs("presenter-companion: the desktop has no portal that remembers such a permission\n",
                   stderr);
        return 1;
    }
    std::puts("The desktop asks now whether this program may control the mouse. It clicks the middle of the\n"
              "screen when an effect starts and ends, so that the slides keep the keyboard.");
    std::fflush(stdout);
    QtMainQueue queue;
    const auto question = askForClicks(queue, clickPermission(), [](bool given, const char *reason) {
        if (given)
            std::puts("Allowed from the next start on.");
        else
            std::fprintf(stderr, "presenter-companion: %s\n", reason);
        QCoreApplication::exit(given ? 0 : 1);
    });
    return QCoreApplication::exec();
}

} // namespace companion
