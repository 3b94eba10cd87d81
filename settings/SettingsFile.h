#pragma once

#include <QString>

#include <map>

namespace companion {

// The settings' INI file on the disk.
namespace settings_file {

using Values = std::map<QString, QString>;

// What can be read of it; `damaged` when that is not all.
Values read(const QString &path, bool &damaged);

// Replaces the file by one with these values and with whatever else it holds. Whenever the program is killed,
// and whenever the power fails, the file is either the old one or the new one. Returns what was wrong, for
// the log, and leaves the file alone then; an empty text when it worked.
//
// Only an ordinary file of the user's is replaced; a link to one stays, and what it leads to is replaced.
//
// While it works, and after a program that was killed meanwhile, a hidden folder lies beside the file; the
// next saving takes it away. Anything else in that folder's place, or in that folder, is left alone, and
// nothing is saved. The file's own folder is made when missing. Waits for the disk.
QString replace(const QString &path, const Values &values);

// Why the file at this place may not be taken for settings; an empty text when it may, or when there is none.
QString objectionTo(const QString &path);

} // namespace settings_file

} // namespace companion
