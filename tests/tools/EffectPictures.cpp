// The README's pictures of the effects, from the real program over the sample slide:
//   effect_pictures FOLDER
#include "support/rig/CompanionProcess.h"
#include "support/rig/InputDevices.h"
#include "support/rig/Screen.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>

using namespace companion::rig;

namespace {

struct Picture {
    const char *name;
    Settings settings;
    QPoint pointer;
    QPoint touched; // A pixel that the effect changes.
};

const Picture kPictures[] = {
    {"spotlight",
     {{"LOCAL_MOUSETYPE", "1"}, {"LOCAL_MOUSESIZEVALUE", "230"}, {"LOCAL_BACKALPHA", "0.6"}},
     {1125, 420},
     {40, 600}},
    {"laser", {{"LOCAL_MOUSETYPE", "2"}, {"LOCAL_MOUSESIZEVALUE", "50"}}, {500, 325}, {500, 325}},
    {"magnifier",
     {{"LOCAL_MOUSETYPE", "3"}, {"LOCAL_MOUSESIZEVALUE", "250"}, {"LOCAL_MOUSEROOMVALUE", "20"}},
     {625, 320},
     {748, 320}},
};

void take(const Picture &picture, const QDir &folder) {
    const Desktop desktop({.size = {1280, 720}});
    const Screen screen(desktop);
    const ChildProcess slide({COMPANION_SAMPLE_SLIDE}, desktop.environment());
    screen.waitForPixel({1164, 500}, qRgb(0xe7, 0x6f, 0x51)); // The last bar of the slide's chart.
    const QImage plain = screen.settled();
    CompanionProcess program(desktop, picture.settings);
    program.effectOn();
    InputDevices hand(desktop);
    hand.move(picture.pointer);
    screen.waitFor("the effect", {picture.touched, QSize(1, 1)}, [&](const QImage &now) {
        return !sameColour(now.pixel(0, 0), plain.pixel(picture.touched));
    });
    const QImage seen = screen.settled().scaled({640, 360}, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (!seen.save(folder.filePath(QString::fromLatin1(picture.name) + QStringLiteral(".png"))))
        throw std::runtime_error("the picture cannot be written");
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 2 || !QDir().mkpath(QFile::decodeName(argv[1]))) {
        std::fputs("usage: effect_pictures FOLDER\n", stderr);
        return 2;
    }
    for (const Picture &picture : kPictures)
        take(picture, QDir(QFile::decodeName(argv[1])));
}
