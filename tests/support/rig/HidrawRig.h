#pragma once

#include "support/rig/HidrawDevice.h"
#include "support/rig/ReceiverRig.h"

namespace companion::rig {

// The identifiers that the rigs' receiver carries, which the program under test is given.
inline constexpr std::uint16_t kRigVendorId = 0x1209;
inline constexpr std::uint16_t kRigProductId = 0x00AB;

// A receiver's nodes as the kernel shows them, opened by the real HIDAPI.
class HidrawRig final : public ReceiverRig {
public:
    explicit HidrawRig(const Environment &environment,
                       std::vector<HidrawDevice::Interface> interfaces = {HidrawDevice::Interface::Vendor},
                       bool plugged = true)
        : m_device(m_bed, kRigVendorId, kRigProductId, std::move(interfaces)) {
        if (plugged)
            m_device.plug();
        Environment all = m_bed.environment();
        all.insert(environment.begin(), environment.end());
        start({"--receiver=1209:00ab"}, all);
    }
    ~HidrawRig() override { program().signal(9); } // Nothing is left to answer it.

    void plug() override { m_device.plug(); }
    void unplug() override { m_device.unplug(); }
    void replug() override {
        m_device.unplug();
        m_device.plug();
    }
    void setEvent(const Codes &bytes) override { m_device.setEvent(bytes); }
    void once(const Codes &codes) override { m_device.once(codes); }
    void setMode(Mode mode) override { m_device.setMode(static_cast<HidrawDevice::Mode>(mode)); }
    void setDelay(milliseconds delay) override { m_device.setDelay(delay); }
    int opens() override { return m_device.opens(); }
    int reads() override { return static_cast<int>(m_device.reads().size()); }

    HidrawDevice &device() { return m_device; }

private:
    HidrawTestbed m_bed;
    HidrawDevice m_device;
};

} // namespace companion::rig
