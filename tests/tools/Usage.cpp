#include "tools/Usage.h"

#include <xcb/res.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace companion::rig {
namespace {

namespace fs = std::filesystem;

std::string folder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

int entriesOf(const std::string &path) {
    return static_cast<int>(std::distance(fs::directory_iterator(path), fs::directory_iterator()));
}

// Of a line "name:  number kB".
double megabytes(pid_t pid, const std::string &name) {
    std::ifstream status(folder(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stod(line.substr(name.size() + 1)) / 1024;
    return 0;
}

// A program may have several: ours has Qt's, the overlay's and the watchdog's.
std::vector<std::uint32_t> clientsOf(pid_t pid, const XConnection &c) {
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const XcbPtr<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(c, xcb_res_query_client_ids(c, 1, &all), nullptr));
    std::vector<std::uint32_t> found;
    if (!reply)
        return found;
    for (auto each = xcb_res_query_client_ids_ids_iterator(reply.get()); each.rem > 0;
         xcb_res_client_id_value_next(&each))
        if (xcb_res_client_id_value_value_length(each.data) > 0 &&
            *xcb_res_client_id_value_value(each.data) == static_cast<std::uint32_t>(pid))
            found.push_back(each.data->spec.client);
    return found;
}

int resourcesOf(std::uint32_t client, const XConnection &c) {
    const XcbPtr<xcb_res_query_client_resources_reply_t> reply(
        xcb_res_query_client_resources_reply(c, xcb_res_query_client_resources(c, client), nullptr));
    int count = 0;
    if (reply)
        for (auto each = xcb_res_query_client_resources_types_iterator(reply.get()); each.rem > 0;
             xcb_res_type_next(&each))
            count += static_cast<int>(each.data->count);
    return count;
}

double pixmapsOf(std::uint32_t client, const XConnection &c) {
    const XcbPtr<xcb_res_query_client_pixmap_bytes_reply_t> reply(
        xcb_res_query_client_pixmap_bytes_reply(c, xcb_res_query_client_pixmap_bytes(c, client), nullptr));
    return reply ? static_cast<double>(reply->bytes) / (1024 * 1024) : 0;
}

} // namespace

Usage Usage::of(pid_t program, pid_t server, const XConnection &connection) {
    Usage usage;
    usage.unshared = megabytes(program, "RssAnon") + megabytes(program, "RssShmem");
    usage.resident = megabytes(program, "VmRSS");
    usage.descriptors = entriesOf(folder(program) + "/fd");
    usage.threads = entriesOf(folder(program) + "/task");
    for (const std::uint32_t client : clientsOf(program, connection)) {
        usage.xResources += resourcesOf(client, connection);
        usage.xPixmaps += pixmapsOf(client, connection);
    }
    usage.serverSize = megabytes(server, "VmRSS");
    return usage;
}

} // namespace companion::rig
