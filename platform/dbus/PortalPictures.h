#pragma once

#include "core/MainQueue.h"
#include "platform/ports/DesktopPictures.h"

#include <memory>

namespace companion {

// Pictures by the portal's interface org.freedesktop.portal.Screenshot. The desktop asks the user once, at
// the probe; before it is answered, and after a no, there are none and nobody is asked again. Null without a
// session bus. The queue must outlive the object.
std::unique_ptr<DesktopPictures> makePortalPictures(MainQueue &queue);

} // namespace companion
