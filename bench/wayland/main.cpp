// Drives the real program on Wayland compositors without hardware, of two sizes, and says what following the
// pointer costs, beside the least that a Wayland client could do.
#include "wayland/BareClient.h"
#include "wayland/Scenarios.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

using namespace companion::bench;

namespace {

std::vector<Row> measure(const Effort &effort, const std::vector<std::string> &effects, bool rest) {
    const QSize hd(1920, 1080);
    const QSize uhd(3840, 2160);
    std::vector<Row> rows;
    std::vector<Row> ratios;
    const auto add = [&rows](const std::vector<Row> &more) {
        rows.insert(rows.end(), more.begin(), more.end());
    };
    for (const std::string &effect : effects) {
        const auto small = followingThePointer(effect, hd, effort);
        const auto large = followingThePointer(effect, uhd, effort);
        add(small);
        add(large);
        for (std::size_t i = 0; i < small.size(); ++i)
            if (large[i].name.find("program's CPU") != std::string::npos)
                ratios.push_back(largeToSmall(large[i], small[i], "1"));
        std::fprintf(stderr, "%s measured\n", effect.c_str());
    }
    add(ratios);
    if (rest)
        for (const QSize &screen : {hd, uhd}) {
            add(lensMemory(screen));
            add(appearing(screen, effort));
        }
    return rows;
}

} // namespace

// --bare EFFECT: the client to compare with. --quick: a look instead of a measurement. Names of effects, or
// "rest" (the lens's memory, the first picture): those only.
int main(int argc, char **argv) {
    if (argc == 3 && std::strcmp(argv[1], "--bare") == 0)
        return runBareClient(argv[2]);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Effort effort;
    std::vector<std::string> effects(argv + 1, argv + argc);
    if (std::erase(effects, "--quick") > 0)
        effort = {.rounds = 1, .watched = 100, .motions = 250, .flood = 1000, .repetitions = 3};
    const bool everything = effects.empty();
    const bool rest = std::erase(effects, "rest") > 0 || everything;
    if (everything)
        effects = {"spotlight", "laser"};
    try {
        print(measure(effort, effects, rest));
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
