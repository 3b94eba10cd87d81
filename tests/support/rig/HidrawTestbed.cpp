#include "support/rig/HidrawTestbedNative.h"

#include <linux/hidraw.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace companion::rig {
namespace {

struct HandlerObject {
    UMockdevIoctlBase base;
    void *owner; // The testbed's Native.
};

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

struct HidrawTestbed::Native::Handler {
    static HidrawTestbed::Native &native(UMockdevIoctlBase *base) {
        return *static_cast<HidrawTestbed::Native *>(reinterpret_cast<HandlerObject *>(base)->owner);
    }

    static Route routeOf(UMockdevIoctlBase *base, UMockdevIoctlClient *client) {
        auto &self = native(base);
        const std::lock_guard lock(self.mutex);
        return self.clients[client];
    }

    static void connected(UMockdevIoctlBase *base, UMockdevIoctlClient *client) {
        auto &self = native(base);
        const std::lock_guard lock(self.mutex);
        self.clients[client] = self.nodes[umockdev_ioctl_client_get_devnode(client)];
    }

    static void vanished(UMockdevIoctlBase *base, UMockdevIoctlClient *client) {
        auto &self = native(base);
        const std::lock_guard lock(self.mutex);
        self.clients.erase(client);
    }

    static gboolean control(UMockdevIoctlBase *base, UMockdevIoctlClient *client) {
        const Route route = routeOf(base, client);
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

    static gboolean write(UMockdevIoctlBase *base, UMockdevIoctlClient *client) {
        const Route route = routeOf(base, client);
        complete(client, route.device ? route.device->output(route.presence,
                                                             load(umockdev_ioctl_client_get_arg(client)))
                                      : -ENODEV);
        return TRUE;
    }

    // Input reports come through the terminal itself, which also knows of the pull.
    static gboolean read(UMockdevIoctlBase *, UMockdevIoctlClient *client) {
        int error = 0;
        const int length = umockdev_ioctl_client_execute(client, &error, nullptr);
        umockdev_ioctl_client_complete(client, length, error);
        return TRUE;
    }

    static void initialiseClass(void *type, void *) {
        auto *functions = static_cast<UMockdevIoctlBaseClass *>(type);
        functions->handle_ioctl = control;
        functions->handle_read = read;
        functions->handle_write = write;
        functions->client_connected = connected;
        functions->client_vanished = vanished;
    }

    static UMockdevIoctlBase *make(HidrawTestbed::Native *owner) {
        static const GType type = g_type_register_static_simple(
            umockdev_ioctl_base_get_type(), "CompanionHidrawHandler", sizeof(UMockdevIoctlBaseClass),
            initialiseClass, sizeof(HandlerObject), nullptr, GTypeFlags{});
        auto *object = static_cast<HandlerObject *>(g_object_new(type, nullptr));
        object->owner = owner;
        return &object->base;
    }
};

HidrawTestbed::Native::Native() : bed(umockdev_testbed_new()), handler(Handler::make(this)) {
    char *path = umockdev_testbed_get_root_dir(bed);
    folder = path;
    g_free(path);
}

HidrawTestbed::Native::~Native() {
    for (const std::string &node : attached)
        umockdev_testbed_detach_ioctl(bed, node.c_str(), nullptr);
    g_object_unref(bed);
    g_object_unref(handler);
}

void HidrawTestbed::Native::route(const std::string &node, const Route &route) {
    {
        const std::lock_guard lock(mutex);
        nodes[node] = route;
    }
    if (route.device && attached.insert(node).second &&
        !umockdev_testbed_attach_ioctl(bed, node.c_str(), handler, nullptr))
        throw std::runtime_error("cannot attach to " + node);
}

HidrawTestbed::HidrawTestbed() : m_native(std::make_unique<Native>()) {}

HidrawTestbed::~HidrawTestbed() = default;

Environment HidrawTestbed::environment() const {
    return {{"UMOCKDEV_DIR", m_native->folder}, {"LD_PRELOAD", preload()}};
}

std::string HidrawTestbed::preload() {
    const std::string sanitizer = COMPANION_ASAN_LIBRARY; // It insists on being the first.
    return (sanitizer.empty() ? "" : sanitizer + ":") + "libumockdev-preload.so.0";
}

} // namespace companion::rig
