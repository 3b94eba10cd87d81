#pragma once

#include "core/MainQueue.h"
#include "platform/ports/DesktopPictures.h"

#include <memory>

namespace companion {

// Pictures by KWin's interface org.kde.KWin.ScreenShot2, which it gives to programs whose desktop entry asks
// for it and names their file by its absolute path. Null where no KWin is on the session bus.
// Whether there is one.
bool kwinRuns();

std::unique_ptr<DesktopPictures> makeKWinPictures(MainQueue &queue);

} // namespace companion
