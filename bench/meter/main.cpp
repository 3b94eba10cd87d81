// Drives the real program on virtual screens of two sizes and says what following the pointer costs, beside
// the least that an X client could do and beside a repaint of the whole screen.
#include "meter/BareOverlay.h"
#include "meter/Scenarios.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

using namespace companion::bench;

namespace {

bool compared(const Row &row) {
    return row.name.find("median") != std::string::npos ||
           row.name.find("program's CPU per event, 125") != std::string::npos;
}

std::vector<Row> measure(const Effort &effort, const std::vector<std::string> &effects, bool rest) {
    const QSize hd(1920, 1080);
    const QSize uhd(3840, 2160);
    std::vector<Row> rows;
    std::vector<Row> ratios;
    for (const std::string &effect : effects) {
        const auto small = followingThePointer(effect, hd, effort);
        const auto large = followingThePointer(effect, uhd, effort);
        rows.insert(rows.end(), small.begin(), small.end());
        rows.insert(rows.end(), large.begin(), large.end());
        for (std::size_t i = 0; i < small.size(); ++i)
            if (compared(large[i]))
                ratios.push_back(largeToSmall(large[i], small[i], "1.3"));
        std::fprintf(stderr, "%s measured\n", effect.c_str());
    }
    rows.insert(rows.end(), ratios.begin(), ratios.end());
    if (rest) {
        const auto others = comingAndGoing(uhd, effort);
        rows.insert(rows.end(), others.begin(), others.end());
    }
    return rows;
}

} // namespace

// --bare EFFECT least|full: the client to compare with. --quick: a look instead of a measurement. Names of
// effects, or "rest" (start, idle, memory, first and last pixel): those only.
int main(int argc, char **argv) {
    if (argc == 4 && std::strcmp(argv[1], "--bare") == 0)
        return runBareOverlay(argv[2], std::strcmp(argv[3], "full") == 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Effort effort;
    std::vector<std::string> effects(argv + 1, argv + argc);
    if (std::erase(effects, "--quick") > 0)
        effort = {.rounds = 1, .steps = 60, .jumps = 30, .motions = 125, .flood = 500, .repetitions = 3};
    const bool everything = effects.empty();
    const bool rest = std::erase(effects, "rest") > 0 || everything;
    if (everything)
        effects = {"spotlight", "laser", "lens"};
    try {
        print(measure(effort, effects, rest));
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
