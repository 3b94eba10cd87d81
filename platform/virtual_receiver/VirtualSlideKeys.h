#pragma once

#include "platform/ports/SlideKeys.h"
#include "platform/virtual_receiver/VirtualReceiver.h"

namespace companion {

// The slide keys that the command feed presses on a receiver without hardware.
class VirtualSlideKeys final : public SlideKeys {
public:
    explicit VirtualSlideKeys(VirtualReceiver &receiver) : m_receiver(receiver) {}

    void onKeyDown(std::function<void(int keyCode)> listener) override {
        m_receiver.onSlideKey(std::move(listener));
    }

private:
    VirtualReceiver &m_receiver;
};

} // namespace companion
