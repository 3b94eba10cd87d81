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
// and whenever the power fails, the file is either the old one or the new one. False when that did not work;
// the file is the old one then.
//
// While it works, and after a program that was killed meanwhile, a hidden folder lies beside the file; the
// next saving takes it away. The file's own folder is made when missing.
bool replace(const QString &path, const Values &values);

} // namespace settings_file

} // namespace companion
