// In the place of all others where Wayland's development packages are missing.
#include "platform/wayland/WaylandDesktop.h"
#include "platform/wayland/WaylandPlatform.h"

#include <cstdlib>

namespace companion {
namespace {

constexpr const char *kMissing = "this program was built without Wayland";

} // namespace

std::unique_ptr<Platform> makeWaylandPlatform(const WaylandNeeds &, std::string &error) {
    error = kMissing;
    return nullptr;
}

bool waylandSuffices(std::string &error) {
    error = kMissing;
    return false;
}

WaylandDesktop waylandDesktop() {
    return {.lack = kMissing};
}

void endWithoutCompositor() {
    std::abort(); // There was none.
}

} // namespace companion
