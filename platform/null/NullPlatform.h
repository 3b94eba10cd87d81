#pragma once

#include "platform/ports/Platform.h"

#include <memory>

namespace companion {

// The backend for a machine without a display: nothing is shown, seen or moved, and everything else works.
std::unique_ptr<Platform> makeNullPlatform();

} // namespace companion
