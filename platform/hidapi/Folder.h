#pragma once

#include <dirent.h>

#include <memory>

namespace companion {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, CloseFolder>;

} // namespace companion
