#include "app/Application.h"
#include "app/Autostart.h"
#include "app/ClickQuestion.h"
#include "app/CommandLine.h"
#include "app/DisplayChoice.h"
#include "app/Doctor.h"
#include "app/SessionBus.h"
#include "app/SettingsFront.h"
#include "app/SignalWatch.h"
#include "app/WaylandSession.h"
#include "core/Log.h"
#include "core/ProcessEnd.h"
#include "core/StartupId.h"
#include "platform/instance/Instance.h"
#include "platform/wayland/WaylandPlatform.h"
#include "platform/x11/X11Platform.h"
#include "resources/Images.h"
#include "settings/SettingsStore.h"

#include <QApplication>
#include <QFileInfo>
#include <QSettings>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>

using namespace companion;

namespace {

constexpr int kCannotRun = 1;
constexpr int kWrongUsage = 2;
constexpr auto kPatience = std::chrono::milliseconds(1500); // With a program that runs already.

int fail(const std::string &error, int status) {
    Log::flush(); // The error comes last.
    std::fprintf(stderr, "presenter-companion: %s\n", singleLine(error).c_str());
    return status;
}

// What the user asked to be told; `status` if it could be.
int print(const std::string &text, int status = EXIT_SUCCESS) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0)
        return status;
    return fail(std::string("standard output: ") + std::strerror(errno), kCannotRun);
}

// After a fatal message the toolkit would abort the process and leave a core. Of an X server that has died
// since we asked it, it says that it should be installed again.
void toLog(QtMsgType type, const QMessageLogContext &, const QString &message) {
    if (type == QtFatalMsg) {
        std::string error = message.trimmed().toStdString();
        if (qgetenv("QT_QPA_PLATFORM") == "xcb")
            x11ServerAnswers(error); // Leaves the error alone if it does.
        ProcessEnd::with(fail(error, kCannotRun));
    }
    if (message.startsWith(QLatin1String("The Wayland connection")))
        endWithoutCompositor();
    Log::line(message.toStdString());
}

// Otherwise the first files we open would take these numbers, and the log would be written into one of them.
void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", O_RDWR); // Takes the lowest free number: this one.
    }
}

// Qt is asked about screens and tray where there is a display; the rest needs none.
int runDoctor(const CommandLine &line, int argumentCount, char **arguments) {
    std::string error;
    std::unique_ptr<QApplication> application;
    disableUselessSessionBus();
    qInstallMessageHandler(toLog);
    const auto display = chooseDisplay(line, error);
    if (display)
        application = std::make_unique<QApplication>(argumentCount, arguments);
    const auto findings = examine(gatherDoctorFacts({line.vendorId, line.productId}, display));
    return print(doctorReport(findings), doctorStatus(findings));
}

// Fine when there is nothing to end: whoever asks wants it not to run, and it does not.
int quitRunning() {
    const InstanceEnd end = endInstance(RuntimePlaces::ofThisSession(), kPatience);
    if (!end.text.empty())
        return fail(end.text, kCannotRun);
    std::puts(end.outcome == InstanceEnd::Outcome::Ended ? "presenter-companion has ended"
                                                         : "presenter-companion does not run");
    return EXIT_SUCCESS;
}

std::string settingsCommand(const std::string &startupId) {
    return startupId.empty() ? "settings" : "settings " + startupId;
}

// Nothing but what the running program has seen.
int tellHanded(const std::string &report) {
    constexpr struct {
        std::string_view report;
        const char *text;
        int status;
    } kTexts[] = {
        {SettingsFront::kSeen, "presenter-companion runs already; it shows its settings", EXIT_SUCCESS},
        {SettingsFront::kOpened, "presenter-companion runs already; it has opened its settings",
         EXIT_SUCCESS},
        {SettingsFront::kCovered, "it runs already; its settings are open, but another window covers them",
         kCannotRun},
        {SettingsFront::kAbsent,
         "it runs already; its settings are open, but the window manager does not show them", kCannotRun},
        {SettingsFront::kClosed,
         "it runs already, but its settings did not open, or the effect key closed them again", kCannotRun},
    };
    for (const auto &each : kTexts)
        if (report == each.report)
            return each.status == EXIT_SUCCESS ? print(std::string(each.text) + "\n")
                                               : fail(each.text, each.status);
    return fail("it runs already and was asked for its settings, but does not say whether it shows them",
                kCannotRun);
}

int setAutostart(bool on) {
    const auto places = AutostartPlaces::ofThisUser();
    const AutostartResult result = on ? enableAutostart(places, runningProgram()) : disableAutostart(places);
    if (!result.done)
        return fail(result.text, kCannotRun);
    std::puts(result.text.c_str());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv) {
    occupyStandardDescriptors();
    std::string error;
    const auto line = parseCommandLine(
        std::span<const char *const>(argv + 1, static_cast<std::size_t>(argc > 0 ? argc - 1 : 0)), error);
    if (!line)
        return fail(error + "; try --help", kWrongUsage);
    if (line->action == CommandLine::Action::Help)
        return print(helpText());
    if (line->action == CommandLine::Action::Version)
        return print("presenter-companion " COMPANION_VERSION "\n");
    if (line->action == CommandLine::Action::Quit)
        return quitRunning();
    if (line->action == CommandLine::Action::AutostartOn || line->action == CommandLine::Action::AutostartOff)
        return setAutostart(line->action == CommandLine::Action::AutostartOn);
    int qtArgumentCount = 1; // Our options are not Qt's.
    if (line->action == CommandLine::Action::AllowClicks) {
        disableUselessSessionBus();
        return askUserForClicks(qtArgumentCount, argv);
    }
    if (line->action == CommandLine::Action::Doctor)
        return runDoctor(*line, qtArgumentCount, argv);

    const std::string startupId = takeStartupId();
    // Before anything that two programs cannot share.
    InstanceClaim claim;
    if (!line->demo) // Which touches neither receiver nor settings.
        claim = claimInstance(RuntimePlaces::ofThisSession(), settingsCommand(startupId), kPatience);
    if (claim.outcome == InstanceClaim::Outcome::Stuck)
        return fail(claim.text, kCannotRun);
    if (claim.outcome == InstanceClaim::Outcome::Handed)
        return tellHanded(claim.report);
    const auto display = chooseDisplay(*line, error);
    if (!display)
        return fail(error, kCannotRun);
    if (*display == DisplayServer::X11 && isWaylandSession())
        Log::line("Wayland session, through XWayland: --doctor tells what that costs");
    if (!claim.text.empty())
        Log::line("further starts cannot reach this one: " + claim.text);

    disableUselessSessionBus();
    SignalWatch::blockSignals();
    qInstallMessageHandler(toLog);
    QApplication application(qtArgumentCount, argv);
    QApplication::setApplicationName(QStringLiteral("presenter-companion"));
    QApplication::setDesktopFileName(QStringLiteral("presenter-companion"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(image(QStringLiteral("statusBarLogo")));

    // What the toolkit keeps of itself, such as the user's own colours of the colour dialog, lies with our
    // settings.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       QFileInfo(SettingsStore::defaultPath()).absolutePath());

    int status = EXIT_FAILURE;
    const auto companion = Application::make(*line, *display, std::move(claim.lock), error, status);
    if (!companion)
        return fail(error, status);
    companion->start(startupId);
    return QApplication::exec();
}
