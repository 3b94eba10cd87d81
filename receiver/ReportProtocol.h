#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The bytes that pass between the computer and the receiver: one feature report, read for the presenter's
// keys and written to set its timer.
namespace companion {

inline constexpr std::uint8_t kReportId = 0x12;

// The host keeps more than travels; only the first 64 bytes go over the wire, report ID included.
inline constexpr std::size_t kTransferLength = 64;
using ReportBuffer = std::array<std::uint8_t, 256>;

// Zeroed but for the report ID. The receiver's answer is read over it, so that whatever a short or failed
// read leaves out is zero.
ReportBuffer eventRequest();

// The presenter takes the low 8 bits: 300 minutes arrive as 44.
ReportBuffer timerReport(std::int32_t minutes);

// What byte 1 of an answer means, in posting order; nothing for codes without a meaning. No state is kept: a
// code that stays is acted on at every poll.
std::span<const std::string_view> notificationsFor(std::uint8_t code);

// "{length = 2, bytes = 0x12ff}".
std::string dataDescription(std::span<const std::uint8_t> bytes);

} // namespace companion
