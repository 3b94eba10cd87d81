#pragma once

#include "platform/ports/HidPort.h"

namespace companion {

// The receiver through the HIDAPI library's hidraw backend.
//
// open() differs from the library's plain one where that would fail for good: of a receiver with several
// interfaces it takes the one that answers the event report, not the first. It asks only then, and the answer
// is lost. A silent device blocks any feature read for about 5 s.
class HidApiPort final : public HidPort {
public:
    void init() override;
    Handle *open(std::uint16_t vendorId, std::uint16_t productId) override;
    void close(Handle *handle) override;
    int getFeatureReport(Handle *handle, std::span<std::uint8_t> report) override;
    int getSerialNumber(Handle *handle, std::span<wchar_t> text) override;
    int sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) override;
    bool isDisconnected(Handle *handle) override;
};

} // namespace companion
