#include "support/rig/InputRecorder.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <map>

namespace companion::rig {

InputRecorder::InputRecorder(const Desktop &desktop) : m_connection(desktop.display()) {
    if (desktop.wayland() != nullptr)
        return;
    // From 2.1 on raw events also come while another client holds a grab.
    m_connection.reply(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(m_connection, 2, 2));
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
    const std::map<int, char> letters{
        {XCB_INPUT_RAW_MOTION, 'm'}, {XCB_INPUT_RAW_BUTTON_PRESS, 'd'}, {XCB_INPUT_RAW_BUTTON_RELEASE, 'u'}};
    while (const XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)})
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC)
            m_events += letters.at(reinterpret_cast<const xcb_ge_generic_event_t *>(event.get())->event_type);
    return m_events;
}

int InputRecorder::clicks() {
    const std::string &all = events();
    return static_cast<int>(std::count(all.begin(), all.end(), 'u'));
}

} // namespace companion::rig
