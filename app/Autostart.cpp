#include "app/Autostart.h"

#include "core/Log.h"

#include <QDir>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <filesystem>

namespace companion {
namespace {

namespace fs = std::filesystem;

std::string entryIn(const std::string &configFolder) {
    return configFolder + "/autostart/presenter-companion.desktop";
}

// Values of desktop entries are strings with escapes…
std::string escapedValue(const std::string &text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '\\':
            escaped += "\\\\";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\t':
            escaped += "\\t";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// …and a command's words have a quoting of their own below that. A percent sign would be a field code.
std::string quotedWord(const std::string &word) {
    std::string quoted = "\"";
    for (const char c : word) {
        if (std::string_view("\"`$\\").find(c) != std::string_view::npos)
            quoted += '\\';
        if (c == '%')
            quoted += '%';
        quoted += c;
    }
    return quoted + '"';
}

AutostartResult failed(const std::string &path, const std::string &reason) {
    return {false, singleLine(path) + ": " + reason};
}

AutostartResult write(const std::string &path, const std::string &text, const std::string &done) {
    const QString name = QString::fromStdString(path);
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    if (error)
        return failed(path, error.message());
    QSaveFile file(name);
    // Flushed by hand: a commit does not notice that its own last write failed.
    if (!file.open(QIODevice::WriteOnly) || file.write(text.data(), qint64(text.size())) < 0 ||
        !file.flush() || !file.commit())
        return failed(path, file.errorString().toStdString());
    return {true, done + ": wrote " + singleLine(path)};
}

} // namespace

AutostartPlaces AutostartPlaces::ofThisUser() {
    AutostartPlaces places;
    places.own = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation).toStdString();
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        if (folder.toStdString() != places.own)
            places.common.push_back(folder.toStdString());
    return places;
}

AutostartResult enableAutostart(const AutostartPlaces &places, const std::string &program) {
    if (program.empty())
        return {false, "the running program's file is gone; start it from where it is now"};
    if (program.find('=') != std::string::npos)
        return failed(program, "desktops start no program whose path has an equals sign");
    const std::string entry = "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Presenter Companion\n"
                              "Icon=presenter-companion\n"
                              "TryExec=" +
                              escapedValue(program) + "\nExec=" + escapedValue(quotedWord(program)) +
                              "\nTerminal=false\n"
                              "StartupNotify=false\n";
    return write(entryIn(places.own), entry, "presenter-companion starts when you log in");
}

AutostartResult disableAutostart(const AutostartPlaces &places) {
    const std::string done = "presenter-companion does not start when you log in";
    const std::string own = entryIn(places.own);
    std::error_code error;
    if (std::any_of(places.common.begin(), places.common.end(),
                    [&](const std::string &folder) { return fs::exists(entryIn(folder), error); }))
        return write(own, "[Desktop Entry]\nType=Application\nName=Presenter Companion\nHidden=true\n", done);
    const bool removed = fs::remove(own, error);
    if (error)
        return failed(own, error.message());
    return {true, removed ? done + ": removed " + singleLine(own) : done + ", nor did it"};
}

std::string runningProgram() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return !error && fs::exists(program, error) ? program.string() : std::string();
}

} // namespace companion
