#include "meter/ProcessCost.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace companion::bench {
namespace {

std::string folder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

// A line "name:   number unit" of a status file; 0 if it is not there.
std::int64_t statusNumber(const std::string &file, const std::string &name) {
    std::ifstream status(file);
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stoll(line.substr(name.size() + 1));
    return 0;
}

} // namespace

ProcessCost ProcessCost::of(pid_t pid) {
    ProcessCost cost;
    for (const auto &thread : std::filesystem::directory_iterator(folder(pid) + "/task")) {
        std::int64_t nanoseconds = 0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        cost.cpu += static_cast<double>(nanoseconds) / 1e6;
        cost.wakeUps += statusNumber(thread.path() / "status", "voluntary_ctxt_switches");
    }
    return cost;
}

ProcessMemory ProcessMemory::of(pid_t pid) {
    const std::string status = folder(pid) + "/status";
    const auto megabytes = [&](const char *name) {
        return static_cast<double>(statusNumber(status, name)) / 1024;
    };
    return {megabytes("RssAnon"), megabytes("RssShmem"), megabytes("VmRSS")};
}

} // namespace companion::bench
