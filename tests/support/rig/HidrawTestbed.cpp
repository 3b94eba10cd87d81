#include "support/rig/HidrawDevice.h"

#include <linux/hidraw.h>
#include <sys/ioctl.h>
#include <umockdev.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace companion::rig {
namespace {

void complete(UMockdevIoctlClient *client, long lengthOrError) {
    umockdev_ioctl_client_complete(client, lengthOrError < 0 ? -1 : lengthOrError,
                                   lengthOrError < 0 ? static_cast<int>(-lengthOrError) : 0);
}

// A copy of what the client's pointer points to.
HidrawDevice::Bytes load(UMockdevIoctlData *data) {
    const auto *bytes = data->data;
    return {bytes, bytes + data->data_len};
}

void store(UMockdevIoctlData *data, HidrawDevice::Bytes bytes) {
    umockdev_ioctl_data_update(data, 0, bytes.data(), static_cast<int>(bytes.size()));
}

template <class T>
HidrawDevice::Bytes bytesOf(const T &value) {
    HidrawDevice::Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

} // namespace

// What clients do, on the library's thread. Input reports come through the terminal behind a node, without
// us.
struct HidrawTestbed::Handler {
    static Route routeOf(UMockdevIoctlClient *client, HidrawTestbed &bed) {
        const std::lock_guard lock(bed.m_mutex);
        return bed.m_clients[client];
    }

    static void connected(UMockdevIoctlBase *, UMockdevIoctlClient *client, HidrawTestbed *bed) {
        const std::lock_guard lock(bed->m_mutex);
        bed->m_clients[client] = bed->m_nodes[umockdev_ioctl_client_get_devnode(client)];
    }

    static void vanished(UMockdevIoctlBase *, UMockdevIoctlClient *client, HidrawTestbed *bed) {
        const std::lock_guard lock(bed->m_mutex);
        bed->m_clients.erase(client);
    }

    static gboolean control(UMockdevIoctlBase *, UMockdevIoctlClient *client, HidrawTestbed *bed) {
        const Route route = routeOf(client, *bed);
        const unsigned long request = umockdev_ioctl_client_get_request(client);
        UMockdevIoctlData *argument = umockdev_ioctl_client_get_arg(client);
        if (!route.device || !route.device->isPresent(route.presence)) {
            complete(client, -ENODEV);
            return TRUE;
        }
        UMockdevIoctlData *memory = umockdev_ioctl_data_resolve(argument, 0, _IOC_SIZE(request), nullptr);
        complete(client, memory ? answer(route, request, memory) : -EFAULT);
        if (memory)
            g_object_unref(memory);
        return TRUE;
    }

    static long answer(const Route &route, unsigned long request, UMockdevIoctlData *memory) {
        const HidrawDevice::Bytes descriptor = route.device->descriptor(route.interface);
        HidrawDevice::Bytes bytes = load(memory);
        if (_IOC_TYPE(request) != 'H')
            return -ENOTTY;
        switch (_IOC_NR(request)) {
        case _IOC_NR(HIDIOCGRDESCSIZE):
            store(memory, bytesOf(static_cast<int>(descriptor.size())));
            return 0;
        case _IOC_NR(HIDIOCGRDESC): {
            hidraw_report_descriptor report{};
            report.size = static_cast<__u32>(descriptor.size());
            std::copy(descriptor.begin(), descriptor.end(), report.value);
            store(memory, bytesOf(report));
            return 0;
        }
        case _IOC_NR(HIDIOCGFEATURE(0)): {
            const long length = route.device->getFeature(route.presence, route.interface, bytes);
            if (length >= 0)
                store(memory, bytes);
            return length;
        }
        case _IOC_NR(HIDIOCSFEATURE(0)):
            return route.device->setFeature(route.presence, route.interface, bytes);
        default:
            return -EINVAL;
        }
    }

    static gboolean write(UMockdevIoctlBase *, UMockdevIoctlClient *client, HidrawTestbed *bed) {
        const Route route = routeOf(client, *bed);
        complete(client, route.device ? route.device->output(route.presence,
                                                             load(umockdev_ioctl_client_get_arg(client)))
                                      : -ENODEV);
        return TRUE;
    }
};

HidrawTestbed::HidrawTestbed() : m_bed(umockdev_testbed_new()), m_handler(umockdev_ioctl_base_new()) {
    g_signal_connect(m_handler, "client-connected", G_CALLBACK(Handler::connected), this);
    g_signal_connect(m_handler, "client-vanished", G_CALLBACK(Handler::vanished), this);
    g_signal_connect(m_handler, "handle-ioctl", G_CALLBACK(Handler::control), this);
    g_signal_connect(m_handler, "handle-write", G_CALLBACK(Handler::write), this);
    char *path = umockdev_testbed_get_root_dir(m_bed);
    m_folder = path;
    g_free(path);
}

HidrawTestbed::~HidrawTestbed() {
    for (const std::string &node : m_attached)
        umockdev_testbed_detach_ioctl(m_bed, node.c_str(), nullptr);
    g_object_unref(m_bed);
    g_object_unref(m_handler);
}

void HidrawTestbed::route(const std::string &node, const Route &route) {
    {
        const std::lock_guard lock(m_mutex);
        m_nodes[node] = route;
    }
    if (route.device && m_attached.insert(node).second &&
        !umockdev_testbed_attach_ioctl(m_bed, node.c_str(), m_handler, nullptr))
        throw std::runtime_error("cannot attach to " + node);
}

Environment HidrawTestbed::environment() const {
    const char *preload = std::getenv("LD_PRELOAD");
    return {{"UMOCKDEV_DIR", m_folder}, {"LD_PRELOAD", preload ? preload : ""}};
}

} // namespace companion::rig
