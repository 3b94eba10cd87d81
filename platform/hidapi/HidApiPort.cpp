#include "platform/hidapi/HidApiPort.h"

#include "platform/hidapi/Folder.h"
#include "platform/hidapi/InterfaceChoice.h"

#include <hidapi.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>

namespace companion {
namespace {

struct CloseDevice {
    void operator()(hid_device *device) const { hid_close(device); }
};
struct FreeEnumeration {
    void operator()(hid_device_info *list) const { hid_free_enumeration(list); }
};

struct OpenReceiver {
    std::unique_ptr<hid_device, CloseDevice> device;
    bool lastReadFailed = false;
};

HidPort::Handle *toHandle(OpenReceiver *receiver) {
    return reinterpret_cast<HidPort::Handle *>(receiver);
}

OpenReceiver &fromHandle(HidPort::Handle *handle) {
    return *reinterpret_cast<OpenReceiver *>(handle);
}

// A look at the names of the hidraw nodes: 0.02 ms, where enumerating takes 2 to 5. Without a receiver this
// is this is all that happens, twice a second for ever. In doubt it says yes.
bool mayBePlugged(std::uint16_t vendorId, std::uint16_t productId) {
    static const std::string kNodes = "/sys/class/hidraw/";
    const FolderPtr folder(opendir(kNodes.c_str()));
    if (!folder)
        return true;
    while (const dirent *entry = readdir(folder.get())) {
        if (entry->d_name[0] == '.')
            continue;
        std::array<char, 4096> target;
        const ssize_t length = readlink((kNodes + entry->d_name).c_str(), target.data(), target.size());
        if (length < 0)
            return true;
        if (isDeviceNameOf({target.data(), static_cast<std::size_t>(length)}, vendorId, productId))
            return true;
    }
    return false;
}

bool answersEventReport(hid_device *device) {
    std::array<std::uint8_t, 64> report{0x12};
    return hid_get_feature_report(device, report.data(), report.size()) > 0;
}

} // namespace

void HidApiPort::init() {
    hid_init();
}

HidPort::Handle *HidApiPort::open(std::uint16_t vendorId, std::uint16_t productId) {
    if (!mayBePlugged(vendorId, productId))
        return nullptr;
    const std::unique_ptr<hid_device_info, FreeEnumeration> list(hid_enumerate(vendorId, productId));
    std::vector<HidUsage> usages;
    for (const hid_device_info *each = list.get(); each != nullptr; each = each->next) {
        if (each->path != nullptr) // A node may vanish while it is looked at.
            usages.push_back({each->path, each->usage_page});
    }

    auto receiver = std::make_unique<OpenReceiver>();
    const auto answers = [&receiver](const HidInterface &each, bool mustAnswer) {
        receiver->device.reset(hid_open_path(each.path.c_str()));
        return receiver->device && (!mustAnswer || answersEventReport(receiver->device.get()));
    };
    if (chooseInterface(likeliestFirst(usages), answers) < 0)
        return nullptr;
    return toHandle(receiver.release());
}

void HidApiPort::close(Handle *handle) {
    const std::unique_ptr<OpenReceiver> receiver(&fromHandle(handle));
}

int HidApiPort::getFeatureReport(Handle *handle, std::span<std::uint8_t> report) {
    OpenReceiver &receiver = fromHandle(handle);
    const int length = hid_get_feature_report(receiver.device.get(), report.data(), report.size());
    receiver.lastReadFailed = length < 0;
    return length;
}

int HidApiPort::getSerialNumber(Handle *handle, std::span<wchar_t> text) {
    return hid_get_serial_number_string(fromHandle(handle).device.get(), text.data(), text.size());
}

int HidApiPort::sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) {
    return hid_send_feature_report(fromHandle(handle).device.get(), report.data(), report.size());
}

// A stall or a time-out fails the feature read too, but only a device that is gone fails a read that does not
// wait. A handle stays dead even when its device was plugged in again.
bool HidApiPort::isDisconnected(Handle *handle) {
    const OpenReceiver &receiver = fromHandle(handle);
    std::array<std::uint8_t, 64> input;
    return receiver.lastReadFailed &&
           hid_read_timeout(receiver.device.get(), input.data(), input.size(), 0) < 0;
}

} // namespace companion
