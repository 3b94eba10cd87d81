#include "app/ClickQuestion.h"
#include "app/Doctor.h"
#include "app/WaylandSession.h"
#include "platform/dbus/KWinPictures.h"
#include "platform/dbus/Portals.h"
#include "platform/qt/QtTray.h"
#include "platform/wayland/WaylandDesktop.h"
#include "platform/wayland/WaylandPlatform.h"
#include "platform/x11/X11Desktop.h"
#include "platform/x11/X11Platform.h"
#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

// Looks at the machine; needs a QApplication only where there is a display.
namespace companion {
namespace {

constexpr std::chrono::milliseconds kPatienceWithTray(1000);

// In the order in which udev prefers them.
constexpr const char *kRuleFolders[] = {"/etc/udev/rules.d", "/run/udev/rules.d",
                                        "/usr/local/lib/udev/rules.d", "/usr/lib/udev/rules.d",
                                        "/lib/udev/rules.d"};

bool names(const std::filesystem::path &rules, const std::string &device) {
    std::ifstream file(rules);
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#') && line.find(device) != std::string::npos)
            return true;
    return false;
}

// The one that comes first by its name, as udev orders them.
void addWhatTheDesktopGives(DoctorFacts &facts) {
    facts.eventNodes = findEventNodes(facts.receiver.vendorId, facts.receiver.productId);
    if (facts.waylandClick.empty() && !clickPermission().word().isEmpty())
        facts.waylandClick = "the desktop's portal, as you have allowed";
    if (!facts.waylandStill.empty())
        return;
    if (kwinRuns())
        facts.waylandStill = "KWin's ScreenShot2";
    else if (portalHas(kScreenshotPortal))
        facts.waylandStill = "the desktop's portal, which asks you when the program starts";
}

std::string ruleFileFor(const ReceiverIdentity &receiver) {
    char device[32];
    std::snprintf(device, sizeof device, "0003:%04X:%04X.", receiver.vendorId, receiver.productId);
    std::filesystem::path first;
    for (const char *folder : kRuleFolders) {
        std::error_code none;
        for (const auto &file : std::filesystem::directory_iterator(folder, none))
            if (file.path().extension() == ".rules" &&
                (first.empty() || file.path().filename() < first.filename()) && names(file.path(), device))
                first = file.path();
    }
    return first;
}

// What the program cannot read, it leaves alone. Otherwise it replaces the file as a whole, so what counts is
// the folder in which that lies, behind links; or, before the first time, the nearest one there is.
bool canBeWritten(const QString &path) {
    const QFileInfo file(path);
    if (file.exists() && !(file.isFile() && file.isReadable()))
        return false;
    QString folder = QFileInfo(file.exists() ? file.canonicalFilePath() : path).path();
    while (!QFileInfo::exists(folder) && folder != QFileInfo(folder).path())
        folder = QFileInfo(folder).path();
    return QFileInfo(folder).isDir() && QFileInfo(folder).isWritable();
}

// The toolkit alone knows the scale.
double scaleOf(const std::string &screen) {
    if (qGuiApp == nullptr)
        return 1;
    for (const QScreen *each : QGuiApplication::screens())
        if (each->name().toStdString() == screen)
            return each->devicePixelRatio();
    return QGuiApplication::primaryScreen() != nullptr ? QGuiApplication::primaryScreen()->devicePixelRatio()
                                                       : 1;
}

// `scale` is the display server's, which X has not.
template <class Screen>
std::string describe(const Screen &screen, double scale) {
    std::ostringstream text;
    text << (screen.name.empty() ? "the whole desktop" : screen.name) << " " << screen.area.width() << "x"
         << screen.area.height() << " at " << screen.area.x() << "," << screen.area.y() << ", scale " << scale
         << (screen.main ? ", main" : "");
    return text.str();
}

} // namespace

DoctorFacts gatherDoctorFacts(const ReceiverIdentity &receiver, std::optional<DisplayServer> display) {
    DoctorFacts facts;
    facts.version = COMPANION_VERSION;
    facts.qtVersion = qVersion();
    facts.receiver = receiver;
    facts.nodes = findReceiverNodes(receiver.vendorId, receiver.productId);
    facts.ruleFile = ruleFileFor(receiver);
    facts.sessionType = isWaylandSession() ? "wayland" : qgetenv("XDG_SESSION_TYPE").toStdString();
    facts.display = qgetenv("DISPLAY").toStdString();
    if (display == DisplayServer::Wayland) {
        const WaylandDesktop desktop = waylandDesktop();
        facts.drawsOnWayland = desktop.lack.empty();
        for (const auto &screen : desktop.screens)
            facts.screens.push_back(describe(screen, screen.scale));
        facts.waylandClick = desktop.click;
        facts.waylandStill = desktop.still;
    } else if (x11ServerAnswers(facts.serverError)) {
        if (facts.sessionType == "wayland")
            waylandSuffices(facts.waylandLack);
        x11ServerSuffices(facts.serverLack);
        const X11Desktop desktop = x11Desktop();
        facts.windowManager = desktop.windowManager;
        facts.compositor = desktop.compositor;
        facts.compositorName = desktop.compositorName;
        facts.xembedTray = desktop.xembedTray;
        for (const auto &screen : desktop.screens)
            facts.screens.push_back(describe(screen, scaleOf(screen.name)));
    }
    if (facts.sessionType == "wayland")
        addWhatTheDesktopGives(facts);
    if (qGuiApp != nullptr)
        facts.statusNotifierTray = statusNotifierTrayRuns(kPatienceWithTray);
    const QString settings = SettingsStore::defaultPath();
    facts.settingsFile = settings.toStdString();
    facts.settingsWritable = canBeWritten(settings);
    return facts;
}

} // namespace companion
