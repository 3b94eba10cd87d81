#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "fuzz/FuzzCheck.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "receiver/HidManager.h"
#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <algorithm>
#include <vector>

using namespace companion;
using namespace std::chrono_literals;

// Each chunk of up to 64 bytes is what one poll gets; an empty one fails.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    VirtualMainQueue queue;
    NotificationCenter center;
    VirtualReceiver receiver(queue);
    VirtualHidPort hid(receiver);
    LogRecorder log;
    const Lifetime life;
    int connects = 0;
    int keys = 0;
    center.addObserver(life, LOCAL_DEVICECONNECT, [&](const Notification &) { ++connects; });
    for (const auto name :
         {LOCAL_MOUSETYPESWITCH, LOCAL_MOUSESIZEVALUEADD, LOCAL_MOUSESIZEVALUESUB, LOCAL_MOUSEEFFECTON})
        center.addObserver(life, name, [&](const Notification &) { ++keys; });
    HidManager manager({queue, center, hid, 1, 1});
    manager.initManager();
    queue.advance(500ms);

    while (size > 0) {
        const std::size_t length = std::min<std::size_t>({size, 64, std::size_t{*data} % 65});
        const std::vector<std::uint8_t> event(data + std::min<std::size_t>(length, 1), data + length);
        receiver.setEvent(event);
        receiver.setMode(length == 0 ? VirtualReceiver::Mode::Stall : VirtualReceiver::Mode::Ok);
        const std::uint8_t code = event.empty() ? 0 : event[0];
        data += std::max<std::size_t>(length, 1);
        size -= std::max<std::size_t>(length, 1);
        connects = keys = 0;
        log.lines.clear();
        queue.advance(100ms);
        FUZZ_CHECK(connects == 1);
        FUZZ_CHECK(log.lines.size() == (code != 0 ? 1U : 0U));
        FUZZ_CHECK(keys <= (code == 0 ? 0 : 2));
        FUZZ_CHECK((code & ~0x17) == 0 || keys == 0);
        FUZZ_CHECK(queue.pending() == 1);
    }
    return 0;
}
