#pragma once

#include "core/MainQueue.h"
#include "platform/ports/DesktopPictures.h"

#include <memory>

namespace companion {

// Whether one is on the session bus.
bool kwinRuns();

// Pictures by KWin's interface org.kde.KWin.ScreenShot2, which it gives to programs whose desktop entry asks
// for it and names their file by its absolute path. From `otherwise`, which may be null, if it refuses, and
// where no KWin runs.
std::unique_ptr<DesktopPictures> makeKWinPictures(MainQueue &queue,
                                                  std::unique_ptr<DesktopPictures> otherwise);

} // namespace companion
