#pragma once

#include "support/rig/ChildProcess.h"
#include "support/rig/WaylandHand.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <memory>
#include <string>

namespace companion::rig {

// What GNOME's compositor wants of those who start it, and what it gives programs by D-Bus only. `folder` is
// its user's, and `bus` the name of a connection to its session bus. In unsafe mode anyone may read its
// screen.
namespace gnome {

Command command(const QSize &size);
Environment environment(const std::string &folder);
// Before it starts: no word of what such a session lacks lies over the slide; monitors may have scales.
void writeSettings(const std::string &folder, bool scalesXPrograms);
// Whether it has drawn its desktop and may be talked to. `said` is what it wrote to standard error.
bool hasStarted(const std::string &said);
// Where programs find its X server, from what it said, and the leave to use that; empty before it is there.
Environment xServer(const std::string &said, const std::string &folder);

// The desktop without its overview, with the one monitor at this scale.
void prepare(const QString &bus, double scale);
std::unique_ptr<Hand> hand(const QString &bus);
QImage picture(const QString &bus, const std::string &folder, bool withCursor);

} // namespace gnome
} // namespace companion::rig
