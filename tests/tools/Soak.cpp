// A presenter at work for a long time, and what the program holds meanwhile:
//   soak [MINUTES]        60 unless told otherwise; see tools/soak.sh
// Ends with 1 if the program grew in the last half of the time, or failed in any other way.
#include "e2e/SettingsDesk.h"

#include <QCoreApplication>

#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>

using namespace companion::rig;
using Clock = std::chrono::steady_clock;

namespace {

constexpr QSize kScreen(1920, 1080);

// What the program holds at a moment, and by how much the last quarter's median of it may exceed that of the
// quarter before.
struct Quantity {
    const char *name;
    double slack;
};
constexpr std::array kQuantities{Quantity{"memory MB", 0.5}, // Unshared, and shared memory such as pictures.
                                 Quantity{"open files", 0}, Quantity{"threads", 0},
                                 Quantity{"X resources", 4},   // The toolkit's regions vary.
                                 Quantity{"log kB/min", 100}}; // What is logged is what is done, by chance.
using Sample = std::array<double, kQuantities.size()>;

double kilobytes(const std::string &folder, const std::string &name) {
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1));
    return 0;
}

double entriesOf(const std::string &folder) {
    return double(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// Windows, pixmaps, regions and the like, of all its connections.
double xResources(pid_t pid, const XConnection &c) {
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto clients = c.reply(xcb_res_query_client_ids_reply, xcb_res_query_client_ids(c, 1, &all));
    double count = 0;
    for (auto client = xcb_res_query_client_ids_ids_iterator(clients.get()); client.rem > 0;
         xcb_res_client_id_value_next(&client)) {
        if (xcb_res_client_id_value_value_length(client.data) == 0 ||
            *xcb_res_client_id_value_value(client.data) != static_cast<std::uint32_t>(pid))
            continue;
        const auto types = c.reply(xcb_res_query_client_resources_reply,
                                   xcb_res_query_client_resources(c, client.data->spec.client));
        for (auto each = xcb_res_query_client_resources_types_iterator(types.get()); each.rem > 0;
             xcb_res_type_next(&each))
            count += each.data->count;
    }
    return count;
}

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

double medianOf(std::size_t quantity, std::span<const Sample> samples) {
    std::vector<double> values;
    for (const Sample &sample : samples)
        values.push_back(sample[quantity]);
    std::nth_element(values.begin(), values.begin() + std::ssize(values) / 2, values.end());
    return values[values.size() / 2];
}

bool flat(const std::vector<Sample> &samples) {
    const auto lastHalf = std::span(samples).last(samples.size() / 2);
    const auto third = lastHalf.first(lastHalf.size() / 2);
    const auto fourth = lastHalf.last(lastHalf.size() - third.size());
    bool good = true;
    std::printf("\n%-12s %14s %14s  %s\n", "median of", "third quarter", "last quarter", "may grow by");
    for (std::size_t i = 0; i < kQuantities.size(); ++i) {
        const auto &[name, slack] = kQuantities[i];
        const double before = medianOf(i, third);
        const double after = medianOf(i, fourth);
        good = good && after <= before + slack;
        std::printf("%-12s %14.2f %14.2f  %.2f%s\n", name, before, after, slack,
                    after > before + slack ? "  GREW" : "");
    }
    return good;
}

std::vector<Sample> soak(SettingsDesk &desk, double minutes) {
    const pid_t pid = desk.companion.process().pid();
    const std::string process = "/proc/" + std::to_string(pid);
    const XConnection connection(desk.desktop.display());
    Presenter presenter(desk);
    std::vector<Sample> samples;
    const auto start = Clock::now();
    const auto passed = [&] {
        return std::chrono::duration<double, std::ratio<60>>(Clock::now() - start).count();
    };
    const double step = std::min(1.0, minutes / 12); // Short trials have enough samples, too.
    const auto logKilobytes = [&] { return double(desk.companion.process().err().size()) / 1024; };
    double logBefore = logKilobytes();
    double timeBefore = 0;
    std::printf("%12s", "minute");
    for (const Quantity &each : kQuantities)
        std::printf(" %12s", each.name);
    while (passed() < minutes) {
        const double until = timeBefore + step;
        while (passed() < until)
            presenter.act();
        letTimePass(1s); // All is idle when a sample is taken.
        if (!desk.companion.process().running())
            throw std::runtime_error("the program has ended");
        const double now = passed();
        const double log = logKilobytes();
        samples.push_back({(kilobytes(process, "RssAnon") + kilobytes(process, "RssShmem")) / 1024,
                           entriesOf(process + "/fd"), entriesOf(process + "/task"),
                           xResources(pid, connection), (log - logBefore) / (now - timeBefore)});
        std::printf("\n%12.1f", now);
        for (const double value : samples.back())
            std::printf(" %12.2f", value);
        std::fflush(stdout);
        logBefore = log;
        timeBefore = now;
    }
    std::printf("\n\n%d holds, %d settings windows, %d pulls of the receiver\n", presenter.holds,
                presenter.settingsWindows, presenter.pulls);
    return samples;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
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
