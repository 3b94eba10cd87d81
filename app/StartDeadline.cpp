#include "app/StartDeadline.h"

#include "core/Log.h"

#include <csignal>
#include <cstdlib>

#include <unistd.h>

namespace companion {
namespace {

std::string s_line; // The handler may only read it.

void giveUp(int) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, s_line.data(), s_line.size());
    _exit(EXIT_FAILURE);
}

} // namespace

StartDeadline::StartDeadline(std::chrono::seconds patience, const std::string &complaint) {
    s_line = "presenter-companion: " + singleLine(complaint) + "\n";
    std::signal(SIGALRM, giveUp);
    alarm(static_cast<unsigned>(patience.count()));
}

StartDeadline::~StartDeadline() {
    alarm(0);
    std::signal(SIGALRM, SIG_DFL);
}

} // namespace companion
