#include "core/ProcessEnd.h"

#include "core/Log.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace companion {
namespace {

std::function<void()> &farewell() {
    static std::function<void()> current;
    return current;
}

} // namespace

void ProcessEnd::setFarewell(std::function<void()> replacement) {
    farewell() = std::move(replacement);
}

void ProcessEnd::with(int status) {
    if (farewell())
        farewell()();
    std::fflush(nullptr);
    Log::flush();
    _exit(status);
}

} // namespace companion
