#include "meter/Scenarios.h"

#include "core/QtMainQueue.h"
#include "meter/BareSurround.h"
#include "meter/PointerMeter.h"
#include "meter/ProcessCost.h"
#include "platform/ports/Platform.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/x11/X11Platform.h"
#include "support/rig/CompanionProcess.h"
#include "support/rig/TestWindow.h"

#include <QImage>

#include <xcb/shm.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <thread>

namespace companion::bench {
namespace {

using namespace rig;
using Clock = std::chrono::steady_clock;

constexpr QRgb kSlide = qRgb(0x33, 0x66, 0x99);
constexpr int kMouseRate = 125;
constexpr int kFloodRate = 1000;

struct Effect {
    const char *type; // As in the settings.
    Edge edge;
};

// The lens shows the slide, which is of one colour, enlarged: only its ring is to be seen.
const Effect &effectNamed(const std::string &name) {
    static const std::map<std::string, Effect> effects{
        {"spotlight", {"1", {70, 0}}}, {"laser", {"2", {70, 0}}}, {"lens", {"3", {73, 73}}}};
    return effects.at(name);
}

Settings settingsFor(const std::string &effect) {
    return {{"LOCAL_MOUSETYPE", effectNamed(effect).type},
            {"LOCAL_MOUSESIZEVALUE", "150"},
            {"LOCAL_MOUSEROOMVALUE", "50"}};
}

// What one of the three did in all rounds.
struct Followed {
    std::vector<double> steps;
    std::vector<double> jumps;
    double cpu = 0, serverCpu = 0, compositorCpu = 0; // Milliseconds, in `motions` events.
    double floodCpu = 0, floodServerCpu = 0;
    int motions = 0, flood = 0;
};

void follow(const Desktop &desktop, pid_t pid, const Effect &effect, const Effort &effort, Followed &result) {
    PointerMeter meter(desktop);
    meter.stepLatencies(10, effect.edge); // Warm.
    const auto append = [](std::vector<double> &all, const std::vector<double> &more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    append(result.steps, meter.stepLatencies(effort.steps, effect.edge));
    append(result.jumps, meter.jumpLatencies(effort.jumps, effect.edge));

    const auto costs = [&](int events, int rate, double &cpu, double &serverCpu, double &compositorCpu) {
        const auto program = ProcessCost::of(pid);
        const auto server = ProcessCost::of(desktop.serverPid());
        const auto compositor = ProcessCost::of(desktop.compositorPid());
        meter.move(events, rate);
        letTimePass(20ms);
        cpu += (ProcessCost::of(pid) - program).cpu;
        serverCpu += (ProcessCost::of(desktop.serverPid()) - server).cpu;
        compositorCpu += (ProcessCost::of(desktop.compositorPid()) - compositor).cpu;
    };
    costs(effort.motions, kMouseRate, result.cpu, result.serverCpu, result.compositorCpu);
    double ignored = 0;
    costs(effort.flood, kFloodRate, result.floodCpu, result.floodServerCpu, ignored);
    result.motions += effort.motions;
    result.flood += effort.flood;
}

std::string ownProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

std::string onScreen(const QSize &screen) {
    return screen.height() > 1500 ? ", 4K" : ", 1080p";
}

std::int64_t wallClockMilliseconds() { // Since midnight, as the log's lines.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return ((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec) * 1000LL + now.tv_nsec / 1'000'000;
}

std::int64_t timeOf(const CompanionProcess &companion, const std::string &start, std::int64_t after) {
    for (const auto &line : companion.log())
        if (line.time.count() >= after && line.text.starts_with(start))
            return line.time.count();
    throw std::runtime_error("no log line " + start);
}

} // namespace

std::vector<Row> followingThePointer(const std::string &name, const QSize &screen, const Effort &effort) {
    const Effect &effect = effectNamed(name);
    Followed program;
    Followed floor;
    Followed full;
    for (int round = 0; round < effort.rounds; ++round) {
        {
            const Desktop desktop({.size = screen});
            const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
            CompanionProcess companion(desktop, settingsFor(name));
            companion.effectOn();
            letTimePass(400ms); // The lens has its picture.
            follow(desktop, companion.process().pid(), effect, effort, program);
        }
        for (const bool whole : {false, true}) {
            const Desktop desktop({.size = screen});
            const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
            ChildProcess bare({ownProgram(), "--bare", name, whole ? "full" : "least"},
                              desktop.environment());
            bare.waitForError("ready");
            letTimePass(200ms);
            follow(desktop, bare.pid(), effect, effort, whole ? full : floor);
        }
    }

    std::vector<Row> rows;
    const std::string where = name + onScreen(screen);
    const std::string most = name == "lens" ? "2 × floor" : "1.5 × floor";
    const auto add = [&](const std::string &what, const std::string &unit, const std::string &target,
                         const std::function<Figure(const Followed &)> &of) {
        rows.push_back({where + ": " + what, unit, target, of(program), of(floor), of(full)});
    };
    const auto share = [](double part) {
        return [part](const Followed &f) { return percentile(f.steps, part); };
    };
    const auto far = [](double part) {
        return [part](const Followed &f) { return percentile(f.jumps, part); };
    };
    const auto jumped = [&](const std::string &what, const std::string &target, double part) {
        add("event to pixel after a jump, " + what, "ms", target, far(part));
    };
    add("event to pixel after a step, median", "ms", "0.35, " + most, share(0.5));
    add("event to pixel after a step, p90", "ms", "", share(0.9));
    add("event to pixel after a step, p99", "ms", "1.5", share(0.99));
    add("event to pixel after a step, worst", "ms", "", share(1));
    jumped("median", "0.35, " + most, 0.5);
    jumped("p90", "", 0.9);
    jumped("p99", "1.5", 0.99);
    jumped("worst", "", 1);
    add("program's CPU per event, 125 Hz", "ms", "0.10, " + most,
        [](const Followed &f) { return f.cpu / f.motions; });
    add("X server's CPU per event, 125 Hz", "ms", most,
        [](const Followed &f) { return f.serverCpu / f.motions; });
    add("compositor's CPU per event, 125 Hz", "ms", "",
        [](const Followed &f) { return f.compositorCpu / f.motions; });
    add("program's CPU per event, 1,000 Hz", "ms", "",
        [](const Followed &f) { return f.floodCpu / f.flood; });
    add("X server's CPU per event, 1,000 Hz", "ms", "",
        [](const Followed &f) { return f.floodServerCpu / f.flood; });
    return rows;
}

std::vector<Row> comingAndGoing(const QSize &screen, const Effort &effort) {
    std::vector<Row> rows;
    const std::string where = onScreen(screen);
    const auto add = [&](const std::string &what, const std::string &unit, const std::string &target,
                         Figure program, Figure floor = {}) {
        rows.push_back({what + where, unit, target, program, floor, {}});
    };
    const Desktop desktop({.size = screen});
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
    const QPoint corner(screen.width() - 50, 50);

    std::vector<double> start;
    for (int i = 0; i < effort.repetitions; ++i) {
        const auto before = wallClockMilliseconds();
        const CompanionProcess companion(desktop, settingsFor("spotlight"));
        start.push_back(static_cast<double>(timeOf(companion, "viewDidAppear", before) - before));
    }
    add("process start to overlay ready and polling, median", "ms", "80", percentile(start, 0.5));

    std::optional<CompanionProcess> running(std::in_place, desktop, settingsFor("spotlight"));
    CompanionProcess &companion = *running;
    const pid_t pid = companion.process().pid();
    PointerMeter meter(desktop);
    const auto idle = [&](const std::string &what, const std::string &target) {
        constexpr auto time = 5s;
        const auto before = ProcessCost::of(pid);
        letTimePass(time);
        const auto spent = ProcessCost::of(pid) - before;
        const auto seconds = static_cast<double>(time.count());
        add("idle " + what + ": wake-ups per second", "", target,
            static_cast<double>(spent.wakeUps) / seconds);
        add("idle " + what + ": CPU per second", "ms", "", spent.cpu / seconds);
    };
    idle("with a receiver", "10 (its polls)");

    std::vector<double> appearing;
    std::vector<double> going;
    for (int i = 0; i < effort.repetitions; ++i) {
        const auto before = wallClockMilliseconds();
        const std::uint32_t plain = meter.pixel(corner);
        companion.receiver("event 10");
        meter.untilChanged(corner, plain, 2000);
        const auto seen = wallClockMilliseconds();
        appearing.push_back(static_cast<double>(seen - timeOf(companion, "获得数据 12,10", before)));
        letTimePass(400ms);
        const std::uint32_t dimmed = meter.pixel(corner);
        const auto released = Clock::now();
        companion.receiver("event 00");
        meter.untilChanged(corner, dimmed, 2000);
        going.push_back(std::chrono::duration<double, std::milli>(Clock::now() - released).count());
        letTimePass(300ms);
    }
    std::vector<double> bareAppearing;
    BareSurround surround(desktop.display());
    for (int i = 0; i < effort.repetitions; ++i) {
        const std::uint32_t plain = meter.pixel(corner);
        surround.show();
        bareAppearing.push_back(meter.untilChanged(corner, plain, 2000));
        letTimePass(400ms);
        surround.hide();
        letTimePass(300ms);
    }
    add("poll with the key to first pixel, median", "ms", "20", percentile(appearing, 0.5),
        percentile(bareAppearing, 0.5));
    add("poll with the key to first pixel, worst", "ms", "", percentile(appearing, 1),
        percentile(bareAppearing, 1));
    add("release to last pixel, worst (300 to 400 + 100 by design)", "ms", "520", percentile(going, 1));

    companion.effectOn();
    meter.move(effort.motions, kMouseRate);
    const auto memory = ProcessMemory::of(pid);
    add("memory of its own, spotlight on (RssAnon + RssShmem)", "MB", "25", memory.anonymous + memory.shared);
    add("memory in all, spotlight on (RSS)", "MB", "", memory.all);
    companion.effectOff();
    companion.receiver("unplug");
    letTimePass(1500ms);
    idle("without a receiver", "2 (its tries)");
    running.reset(); // One at a time.

    {
        CompanionProcess magnifier(desktop, settingsFor("lens"));
        magnifier.effectOn();
        letTimePass(400ms);
        meter.move(effort.motions, kMouseRate);
        const auto lens = ProcessMemory::of(magnifier.process().pid());
        add("memory of its own, lens on (its picture of the screen included)", "MB", "",
            lens.anonymous + lens.shared,
            static_cast<double>(screen.width()) * screen.height() * 4 / (1 << 20));
    }

    QtMainQueue queue;
    std::string error;
    const auto platform = makeX11Platform({queue, nullptr, {}, desktop.display()}, error);
    if (!platform)
        throw std::runtime_error(error);
    std::vector<double> captures;
    std::vector<double> bare;
    const XConnection connection(desktop.display());
    const auto bytes =
        static_cast<std::size_t>(screen.width()) * static_cast<std::size_t>(screen.height()) * 4;
    const int shared = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    const auto segment = xcb_generate_id(connection);
    xcb_shm_attach(connection, segment, static_cast<std::uint32_t>(shared), 0);
    connection.sync();
    shmctl(shared, IPC_RMID, nullptr);
    for (int i = 0; i < 20; ++i) {
        auto begun = Clock::now();
        platform->screenCapture().captureDesktop([](const QImage &) {});
        captures.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begun).count());
        begun = Clock::now();
        std::free(xcb_shm_get_image_reply(connection,
                                          xcb_shm_get_image(connection, connection.root(), 0, 0,
                                                            static_cast<std::uint16_t>(screen.width()),
                                                            static_cast<std::uint16_t>(screen.height()), ~0U,
                                                            XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0),
                                          nullptr));
        bare.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begun).count());
    }
    add("picture of the screen, median", "ms", "", percentile(captures, 0.5), percentile(bare, 0.5));
    return rows;
}

} // namespace companion::bench
