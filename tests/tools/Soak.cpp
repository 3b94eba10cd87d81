// A presenter at work for a long time, and what the program holds meanwhile:
//   soak [MINUTES]        60 unless told otherwise; see tools/soak.sh
// Ends with 1 if the program grew in the last half of the time, or failed in any other way.
#include "e2e/SettingsDesk.h"
#include "tools/Usage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>

#include <sys/stat.h>

using namespace companion::rig;
using Clock = std::chrono::steady_clock;

namespace {

constexpr QSize kScreen(1920, 1080);

struct Sample {
    double minutes;
    Usage usage;
    double log; // Kilobytes written since the sample before, per minute.
};

// Megabytes, kilobytes or pieces by which the last quarter's median may exceed that of the quarter before it.
struct Bound {
    const char *name;
    double (*of)(const Sample &);
    double slack;
};
constexpr Bound kBounds[] = {
    {"unshared memory", [](const Sample &s) { return s.usage.unshared; }, 0.5},
    {"open files", [](const Sample &s) { return double(s.usage.descriptors); }, 0},
    {"threads", [](const Sample &s) { return double(s.usage.threads); }, 0},
    {"X resources", [](const Sample &s) { return double(s.usage.xResources); },
     4},                                                                // The toolkit's regions vary.
    {"X pixmaps", [](const Sample &s) { return s.usage.xPixmaps; }, 8}, // A screenful, kept or not by mode.
    {"log per minute", [](const Sample &s) { return s.log; },
     100}, // What is logged is what is done, by chance.
};

class Presenter {
public:
    explicit Presenter(SettingsDesk &desk) : m_desk(desk) {}

    // One thing that a presenter does, and a pause. Nothing is shown afterwards.
    void act() {
        const int dice = upTo(99);
        if (dice < 55)
            hold();
        else if (dice < 75)
            m_desk.companion.pressOnce("01"); // The next mode.
        else if (dice < 80)
            m_desk.companion.pressOnce("02"); // Larger.
        else if (dice < 90)
            settings();
        else
            pull();
        walk(std::chrono::milliseconds(500 + upTo(1500)));
    }

    int holds = 0;
    int settingsWindows = 0;
    int pulls = 0;

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_chance); }

    // The pointer at 60 events a second, on a path with a little tremble.
    void walk(std::chrono::milliseconds time) {
        const auto end = Clock::now() + time;
        QPointF at = m_desk.hand.pointer();
        QPointF to = at;
        while (Clock::now() < end) {
            if ((to - at).manhattanLength() < 20)
                to = QPointF(upTo(kScreen.width() - 1), upTo(kScreen.height() - 1));
            at += (to - at) / 12 + QPointF(upTo(4) - 2, upTo(4) - 2);
            m_desk.hand.move(at.toPoint());
            letTimePass(16ms);
        }
    }

    void hold() {
        m_desk.companion.effectOn();
        walk(std::chrono::milliseconds(2000 + upTo(3000)));
        if (upTo(3) == 0) {
            m_desk.hand.tapKey(kKeyPageDown); // The next slide: a new picture for the magnifier.
            walk(500ms);
        }
        m_desk.companion.effectOff();
        ++holds;
    }

    // Changes something, and leaves by the keyboard or by the effect key.
    void settings() {
        m_desk.open();
        m_desk.click(control::kModes[upTo(3)]);
        m_desk.drag(control::kSizeSlider, 20 - upTo(40));
        if (upTo(1) == 0)
            m_desk.hand.tapKey(kKeyEscape);
        else
            hold();
        waitUntil("the settings window to go", [this] { return m_desk.windows().empty(); });
        ++settingsWindows;
    }

    // In the middle of a hold, or between two.
    void pull() {
        const bool held = upTo(1) == 0;
        if (held)
            m_desk.companion.effectOn();
        m_desk.companion.receiver("event 00");
        m_desk.companion.receiver("unplug");
        walk(1500ms);
        m_desk.companion.receiver("plug");
        m_desk.companion.receiver("wait-get 2 10000");
        ++pulls;
    }

    SettingsDesk &m_desk;
    std::mt19937 m_chance{20240229};
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double medianOf(const Bound &bound, std::span<const Sample> samples) {
    std::vector<double> values;
    for (const Sample &sample : samples)
        values.push_back(bound.of(sample));
    return median(std::move(values));
}

bool flat(const std::vector<Sample> &samples) {
    const auto lastHalf = std::span(samples).last(samples.size() / 2);
    const auto third = lastHalf.first(lastHalf.size() / 2);
    const auto fourth = lastHalf.last(lastHalf.size() - third.size());
    bool good = true;
    std::printf("\n%-16s %14s %14s  %s\n", "median of", "third quarter", "last quarter", "may grow by");
    for (const Bound &bound : kBounds) {
        const double before = medianOf(bound, third);
        const double after = medianOf(bound, fourth);
        const bool grew = after > before + bound.slack;
        std::printf("%-16s %14.2f %14.2f  %.2f%s\n", bound.name, before, after, bound.slack,
                    grew ? "  GREW" : "");
        good = good && !grew;
    }
    return good;
}

double logKilobytes(pid_t pid) {
    struct stat status {};
    stat(("/proc/" + std::to_string(pid) + "/fd/2").c_str(), &status);
    return static_cast<double>(status.st_size) / 1024;
}

std::vector<Sample> soak(SettingsDesk &desk, double minutes) {
    const pid_t pid = desk.companion.process().pid();
    const XConnection connection(desk.desktop.display());
    Presenter presenter(desk);
    std::vector<Sample> samples;
    const auto start = Clock::now();
    const auto passed = [&] {
        return std::chrono::duration<double, std::ratio<60>>(Clock::now() - start).count();
    };
    // Short trials have enough samples, too.
    const double step = std::min(1.0, minutes / 12);
    double logBefore = logKilobytes(pid);
    double timeBefore = 0;
    std::printf("%7s %9s %9s %6s %8s %6s %9s %9s %10s %6s\n", "minute", "unshared", "resident", "files",
                "threads", "X res", "X pixmaps", "X server", "log kB/min", "holds");
    while (passed() < minutes) {
        const double until = timeBefore + step;
        while (passed() < until)
            presenter.act();
        letTimePass(1s); // All is idle when a sample is taken.
        if (!desk.companion.process().running())
            throw std::runtime_error("the program has ended");
        const double now = passed();
        const double log = logKilobytes(pid);
        samples.push_back({now, Usage::of(pid, desk.desktop.serverPid(), connection),
                           (log - logBefore) / (now - timeBefore)});
        const Usage &u = samples.back().usage;
        std::printf("%7.1f %9.2f %9.2f %6d %8d %6d %9.2f %9.2f %10.1f %6d\n", now, u.unshared, u.resident,
                    u.descriptors, u.threads, u.xResources, u.xPixmaps, u.serverSize, samples.back().log,
                    presenter.holds);
        std::fflush(stdout);
        logBefore = log;
        timeBefore = now;
    }
    std::printf("\n%d holds, %d settings windows, %d pulls of the receiver; the log has %.0f kB\n",
                presenter.holds, presenter.settingsWindows, presenter.pulls, logBefore);
    return samples;
}

} // namespace

int main(int argc, char **argv) {
    const double minutes = argc > 1 ? std::atof(argv[1]) : 60;
    if (argc > 2 || !(minutes >= 1)) {
        std::fputs("usage: soak [MINUTES], 1 or more\n", stderr);
        return 2;
    }
    try {
        SettingsDesk desk({.settings = english({{"LOCAL_MOUSETYPE", "1"}})}, {.size = kScreen});
        const bool good = flat(soak(desk, minutes));
        std::puts(good ? "flat" : "not flat");
        return good ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "soak: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
