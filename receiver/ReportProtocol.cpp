#include "receiver/ReportProtocol.h"

#include "core/NotificationNames.h"

namespace companion {
namespace {

struct Row {
    std::uint8_t code;
    std::size_t count;
    std::array<std::string_view, 2> notifications;
};

// Bit 0x10 is the effect key, held. Size keys work with and without it; the mode key only without, so 0x11 is
// absent on purpose.
constexpr Row kRows[] = {
    {0x01, 1, {LOCAL_MOUSETYPESWITCH}},
    {0x02, 1, {LOCAL_MOUSESIZEVALUEADD}},
    {0x04, 1, {LOCAL_MOUSESIZEVALUESUB}},
    {0x10, 1, {LOCAL_MOUSEEFFECTON}},
    {0x12, 2, {LOCAL_MOUSESIZEVALUEADD, LOCAL_MOUSEEFFECTON}},
    {0x14, 2, {LOCAL_MOUSESIZEVALUESUB, LOCAL_MOUSEEFFECTON}},
};

} // namespace

ReportBuffer eventRequest() {
    return {kReportId};
}

ReportBuffer timerReport(std::int32_t minutes) {
    return {kReportId, static_cast<std::uint8_t>(minutes & 0xFF)};
}

std::span<const std::string_view> notificationsFor(std::uint8_t code) {
    for (const Row &row : kRows) {
        if (row.code == code)
            return std::span(row.notifications).first(row.count);
    }
    return {};
}

std::string dataDescription(std::span<const std::uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "{length = " + std::to_string(bytes.size()) + ", bytes = 0x";
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text + '}';
}

} // namespace companion
