#include "support/rig/InputRecorder.h"

#include <xcb/xinput.h>

#include <algorithm>

namespace companion::rig {

InputRecorder::InputRecorder(const Desktop &desktop) : m_connection(desktop.display()) {
    // From 2.1 on raw events also come while another client holds a grab.
    std::free(xcb_input_xi_query_version_reply(m_connection, xcb_input_xi_query_version(m_connection, 2, 2),
                                               nullptr));
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    xcb_input_xi_select_events(m_connection, m_connection.root(), 1, &selection.head);
    m_connection.sync();
}

const std::string &InputRecorder::events() {
    while (const XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
        if ((event->response_type & 0x7F) != XCB_GE_GENERIC)
            continue;
        switch (reinterpret_cast<const xcb_ge_generic_event_t *>(event.get())->event_type) {
        case XCB_INPUT_RAW_MOTION:
            m_events += 'm';
            break;
        case XCB_INPUT_RAW_BUTTON_PRESS:
            m_events += 'd';
            break;
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            m_events += 'u';
            break;
        default:
            break;
        }
    }
    return m_events;
}

int InputRecorder::clicks() {
    const std::string &all = events();
    return static_cast<int>(std::count(all.begin(), all.end(), 'u'));
}

} // namespace companion::rig
