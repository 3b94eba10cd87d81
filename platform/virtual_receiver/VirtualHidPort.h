#pragma once

#include "platform/ports/HidPort.h"

#include <memory>

namespace companion {

class VirtualReceiver;

// Opens the virtual receiver, whatever identifiers are asked for. As with hardware the open is exclusive, and
// what is open dies for good with an unplug, until it is closed and opened again. The receiver must outlive
// the port.
class VirtualHidPort final : public HidPort {
public:
    explicit VirtualHidPort(VirtualReceiver &receiver);
    ~VirtualHidPort() override;

    void init() override {}
    Handle *open(std::uint16_t vendorId, std::uint16_t productId) override;
    void close(Handle *handle) override;
    int getFeatureReport(Handle *handle, std::span<std::uint8_t> report) override;
    int getSerialNumber(Handle *handle, std::span<wchar_t> text) override;
    int sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) override;
    bool isDisconnected(Handle *handle) override;

private:
    struct Opened;
    Opened *opened(Handle *handle) const; // Null for a handle that is not open.

    VirtualReceiver &m_receiver;
    std::unique_ptr<Opened> m_opened;
};

} // namespace companion
