#include "platform/virtual_receiver/VirtualHidPort.h"

#include "platform/virtual_receiver/VirtualReceiver.h"

#include <algorithm>
#include <string_view>

namespace companion {

struct VirtualHidPort::Opened {
    std::uint64_t presence = 0;
    bool lastReadFailed = false;
};

VirtualHidPort::VirtualHidPort(VirtualReceiver &receiver) : m_receiver(receiver) {}

VirtualHidPort::~VirtualHidPort() = default;

HidPort::Handle *VirtualHidPort::open(std::uint16_t, std::uint16_t) {
    if (m_receiver.presence() == 0 || m_opened) {
        ++m_receiver.m_counts.refused;
        return nullptr;
    }
    ++m_receiver.m_counts.opens;
    m_opened = std::make_unique<Opened>(Opened{m_receiver.presence()});
    return reinterpret_cast<Handle *>(m_opened.get());
}

void VirtualHidPort::close(Handle *handle) {
    if (opened(handle) == nullptr)
        return;
    ++m_receiver.m_counts.closes;
    m_opened.reset();
}

int VirtualHidPort::getFeatureReport(Handle *handle, std::span<std::uint8_t> report) {
    Opened *receiver = opened(handle);
    if (receiver == nullptr)
        return -1;
    const int length = m_receiver.answer(report, receiver->presence);
    receiver->lastReadFailed = length < 0;
    return length;
}

int VirtualHidPort::getSerialNumber(Handle *handle, std::span<wchar_t> text) {
    if (opened(handle) == nullptr || text.empty())
        return -1;
    static constexpr std::wstring_view kSerialNumber = L"VIRTUAL";
    const std::size_t length = std::min(kSerialNumber.size(), text.size() - 1);
    std::copy_n(kSerialNumber.begin(), length, text.begin());
    text[length] = L'\0';
    return 0;
}

int VirtualHidPort::sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) {
    const Opened *receiver = opened(handle);
    return receiver != nullptr ? m_receiver.take(report, receiver->presence) : -1;
}

// Told apart from a stall only after a read has failed, as with the hardware.
bool VirtualHidPort::isDisconnected(Handle *handle) {
    const Opened *receiver = opened(handle);
    return receiver != nullptr && receiver->lastReadFailed && receiver->presence != m_receiver.presence();
}

VirtualHidPort::Opened *VirtualHidPort::opened(Handle *handle) const {
    return m_opened && reinterpret_cast<Handle *>(m_opened.get()) == handle ? m_opened.get() : nullptr;
}

} // namespace companion
