#include "wayland/Scenarios.h"

#include "meter/ProcessCost.h"
#include "support/rig/CompanionProcess.h"
#include "support/rig/TestWindow.h"
#include "wayland/CompositorMeter.h"

#include <QTime>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>

namespace companion::bench {
namespace {

using namespace rig;
using Clock = CompositorMeter::Clock;

constexpr QRgb kSlide = qRgb(0x33, 0x66, 0x99);
constexpr double kFrame = 1000.0 / 60; // Milliseconds: the compositor's own rhythm without a monitor.
constexpr int kRim = 2000;             // Pixels of a disc of 150 that may be rounded otherwise,
constexpr int kRounding = 24;          // and by how much.

std::string text(double number, const char *format) {
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, format, number);
    return buffer;
}

std::string onScreen(const QSize &screen) {
    return screen.height() > 1500 ? ", 4K" : ", 1080p";
}

double pictureMegabytes(const QSize &screen) {
    return static_cast<double>(screen.width()) * screen.height() * 4 / (1 << 20);
}

Settings settingsFor(const std::string &effect) {
    static const std::map<std::string, std::string> types{{"spotlight", "1"}, {"laser", "2"}, {"lens", "3"}};
    return {{"LOCAL_MOUSETYPE", types.at(effect)},
            {"LOCAL_MOUSESIZEVALUE", "150"},
            {"LOCAL_MOUSEROOMVALUE", "50"}};
}

// A compositor with a slide, and the meter.
struct Stage {
    explicit Stage(const QSize &screen)
        : desktop({.size = screen, .wayland = Compositor::Sway}),
          slide(desktop, TestWindow::Kind::FullScreen, kSlide),
          meter(desktop.environment().at("WAYLAND_DISPLAY"), screen) {}

    Desktop desktop;
    TestWindow slide;
    CompositorMeter meter;
};

// The floor as a process of its own.
struct Bare {
    Bare(const Desktop &desktop, const std::string &effect)
        : process({std::filesystem::read_symlink("/proc/self/exe").string(), "--bare", effect},
                  desktop.environment(), true) {
        process.waitForError("ready");
    }
    void show() { process.write("+"); }
    void hide() { process.write("-"); }

    ChildProcess process;
};

// What one of the two did, round by round.
struct Followed {
    std::vector<double> latencies;
    std::vector<double> cpu, compositorCpu; // Milliseconds per motion.
    std::vector<double> floodCpu, floodCompositorCpu;
    std::vector<double> wakeUps, floodWakeUps; // Per motion.
    std::vector<double> memory;
    QImage picture;
};

void follow(Stage &stage, pid_t pid, const Effort &effort, Followed &result) {
    CompositorMeter &meter = stage.meter;
    meter.move(30, 125); // Warm, and both pictures are there.
    const auto taken = meter.latencies(effort.watched);
    result.latencies.insert(result.latencies.end(), taken.begin(), taken.end());

    const pid_t compositor = stage.desktop.compositorPid();
    const auto costs = [&](int events, int rate, auto &own, auto &wakeUps, auto &compositors) {
        const auto before = ProcessCost::of(pid);
        const auto compositorBefore = ProcessCost::of(compositor);
        meter.move(events, rate);
        letTimePass(50ms);
        const auto spent = ProcessCost::of(pid) - before;
        own.push_back(spent.cpu / events);
        wakeUps.push_back(static_cast<double>(spent.wakeUps) / events);
        compositors.push_back((ProcessCost::of(compositor) - compositorBefore).cpu / events);
    };
    costs(effort.motions, 125, result.cpu, result.wakeUps, result.compositorCpu);
    costs(effort.flood, 1000, result.floodCpu, result.floodWakeUps, result.floodCompositorCpu);
    const auto memory = ProcessMemory::of(pid);
    result.memory.push_back(memory.anonymous + memory.shared);
    meter.moveTo(stage.desktop.centre());
    letTimePass(100ms);
    result.picture = stage.desktop.wayland()->grab();
}

// Figures of different pictures would say nothing.
void expectAlike(const QImage &program, const QImage &floor) {
    const auto apart = [](QRgb a, QRgb b) {
        return std::max(
            {std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
    };
    const QPoint centre = program.rect().center();
    const QRect cursor(centre - QPoint(8, 8), QSize(40, 40)); // The program hides it while the mouse rests.
    int rounded = 0;
    for (int y = 0; y < program.height(); ++y)
        for (int x = 0; x < program.width(); ++x) {
            if (cursor.contains(x, y))
                continue;
            const int difference = apart(program.pixel(x, y), floor.pixel(x, y));
            rounded += difference > 0 ? 1 : 0;
            if (difference > kRounding)
                throw std::runtime_error("program and floor differ at " + std::to_string(x) + "," +
                                         std::to_string(y));
        }
    if (rounded > kRim)
        throw std::runtime_error("program and floor differ in " + std::to_string(rounded) + " pixels");
}

double millisecondsOfDay(Clock::time_point time) {
    const double sinceThen = std::chrono::duration<double, std::milli>(Clock::now() - time).count();
    return QTime::currentTime().msecsSinceStartOfDay() - sinceThen;
}

// When the poll with the effect key came, by the log, which counts whole milliseconds.
double pollAfter(const CompanionProcess &companion, double time) {
    for (const auto &line : companion.log())
        if (static_cast<double>(line.time.count()) >= time && line.text.starts_with("获得数据 12,10"))
            return static_cast<double>(line.time.count());
    throw std::runtime_error("no poll in the log");
}

} // namespace

std::vector<Row> followingThePointer(const std::string &effect, const QSize &screen, const Effort &effort) {
    Followed program;
    Followed floor;
    for (int round = 0; round < effort.rounds; ++round) {
        {
            Stage stage(screen);
            CompanionProcess companion(stage.desktop, settingsFor(effect));
            companion.effectOn();
            follow(stage, companion.process().pid(), effort, program);
        }
        {
            Stage stage(screen);
            Bare bare(stage.desktop, effect);
            bare.show();
            letTimePass(200ms);
            follow(stage, bare.process.pid(), effort, floor);
        }
        expectAlike(program.picture, floor.picture);
    }

    std::vector<Row> rows;
    const std::string where = effect + onScreen(screen);
    const auto add = [&](const std::string &what, const std::string &unit, const std::string &target,
                         const std::vector<double> Followed::*samples, double share = 0.5) {
        rows.push_back({where + ": " + what, unit, target, percentile(program.*samples, share),
                        percentile(floor.*samples, share), std::nullopt});
    };
    const std::string frame = "floor + " + text(kFrame, "%.1f");
    add("motion to picture, median", "ms", frame, &Followed::latencies);
    add("motion to picture, p95", "ms", frame, &Followed::latencies, 0.95);
    add("motion to picture, worst", "ms", "", &Followed::latencies, 1);
    add("program's CPU per event, 125 Hz", "ms", "1.5 × floor", &Followed::cpu);
    add("program's wake-ups per event, 125 Hz", "", "", &Followed::wakeUps);
    add("compositor's CPU per event, 125 Hz", "ms", "", &Followed::compositorCpu);
    add("program's CPU per event, 1,000 Hz", "ms", "1.5 × floor", &Followed::floodCpu);
    add("program's wake-ups per event, 1,000 Hz", "", "", &Followed::floodWakeUps);
    add("compositor's CPU per event, 1,000 Hz", "ms", "", &Followed::floodCompositorCpu);
    add("memory of its own (RssAnon + RssShmem)", "MB",
        text(2 * pictureMegabytes(screen), "two pictures (%.1f) + 3"), &Followed::memory);
    return rows;
}

std::vector<Row> appearing(const QSize &screen, const Effort &effort) {
    const QPoint corner(screen.width() - 50, 50);
    std::vector<double> program;
    std::vector<double> floor;
    {
        Stage stage(screen);
        CompanionProcess companion(stage.desktop, settingsFor("spotlight"));
        for (int i = 0; i < effort.repetitions; ++i) {
            const double before = QTime::currentTime().msecsSinceStartOfDay();
            const auto seen = stage.meter.changed(corner, [&] { companion.receiver("event 10"); });
            const double at = millisecondsOfDay(seen);
            letTimePass(400ms);
            program.push_back(at - pollAfter(companion, before));
            stage.meter.changed(corner, [&] { companion.receiver("event 00"); });
            letTimePass(300ms);
        }
    }
    {
        Stage stage(screen);
        Bare bare(stage.desktop, "spotlight");
        for (int i = 0; i < effort.repetitions; ++i) {
            Clock::time_point asked;
            const auto seen = stage.meter.changed(corner, [&] {
                asked = Clock::now();
                bare.show();
            });
            floor.push_back(std::chrono::duration<double, std::milli>(seen - asked).count());
            letTimePass(400ms);
            stage.meter.changed(corner, [&] { bare.hide(); });
            letTimePass(300ms);
        }
    }
    const std::string where = onScreen(screen);
    return {{"poll with the key to first picture, median" + where, "ms", "", percentile(program, 0.5),
             percentile(floor, 0.5), std::nullopt},
            {"poll with the key to first picture, worst" + where, "ms", "", percentile(program, 1),
             percentile(floor, 1), std::nullopt}};
}

std::vector<Row> lensMemory(const QSize &screen) {
    Stage stage(screen);
    CompanionProcess companion(stage.desktop, settingsFor("lens"));
    companion.effectOn();
    letTimePass(400ms);
    stage.meter.move(250, 125);
    const auto memory = ProcessMemory::of(companion.process().pid());
    return {{"lens" + onScreen(screen) + ": memory of its own (RssAnon + RssShmem)", "MB",
             text(3 * pictureMegabytes(screen), "two pictures and a still (%.1f) + 3"),
             memory.anonymous + memory.shared, std::nullopt, std::nullopt}};
}

} // namespace companion::bench
