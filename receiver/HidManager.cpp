#include "receiver/HidManager.h"

#include "core/Log.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/Shared.h"
#include "receiver/ReportProtocol.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace companion {
namespace {

using namespace std::chrono_literals;
constexpr auto kPollInterval = 100ms;
constexpr auto kReopenInterval = 500ms;

// As a leading number is read from text: blanks, a sign, digits; saturated; 0 when there is none.
std::int32_t leadingInteger(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    std::int64_t value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            break;
        value = std::min<std::int64_t>(value * 10 + (digit - '0'), std::int64_t{Limits::max()} + 1);
    }
    return static_cast<std::int32_t>(negative ? -value : std::min<std::int64_t>(value, Limits::max()));
}

} // namespace

HidManager::HidManager(const Needs &needs) : m_needs(needs) {}

HidManager::~HidManager() {
    if (isOpen())
        m_needs.hid.close(m_handle);
}

HidManager &HidManager::sharedInstance() {
    return Shared<HidManager>::get();
}

void HidManager::initManager() {
    m_isOpened = false;
    m_handle = nullptr;
    m_needs.hid.init();
    recieveData();
}

void HidManager::recieveData() {
    if (!isOpen()) {
        m_needs.queue.post(kReopenInterval, m_life.guard([this] {
            reOpenHid();
            recieveData();
        }));
        return;
    }

    // The read's result says nothing that counts: only removal ends the open state, and a failed read leaves
    // no code behind.
    ReportBuffer report = eventRequest();
    m_needs.hid.getFeatureReport(m_handle, std::span(report).first(kTransferLength));
    std::array<wchar_t, 65> serial{};
    m_needs.hid.getSerialNumber(m_handle, std::span(serial).first(64)); // Part of the receiver's dialogue.
    if (m_needs.hid.isDisconnected(m_handle)) {
        scheduleRemovalPass();
        return;
    }

    m_needs.center.post(LOCAL_DEVICECONNECT);
    if (report[1] != 0) {
        Log::format("获得数据 %2x,%2x,%2x,%2x", report[0], report[1], report[2], report[3]);
        for (const std::string_view name : notificationsFor(report[1]))
            m_needs.center.post(name);
    }
    m_needs.queue.post(kPollInterval, m_life.guard([this] { recieveData(); }));
}

// The disconnect is told last: a receiver that came back at once is reported present before it.
void HidManager::scheduleRemovalPass() {
    m_needs.queue.post(kReopenInterval, m_life.guard([this] {
        reOpenHid();
        recieveData();
        m_needs.center.post(LOCAL_DEVICEDISCONNECT);
    }));
}

bool HidManager::reOpenHid() {
    if (isOpen())
        m_needs.hid.close(m_handle);
    m_handle = m_needs.hid.open(m_needs.vendorId, m_needs.productId);
    m_isOpened = m_handle != nullptr;
    return m_isOpened;
}

void HidManager::sendTimerWithTimeInt(std::int32_t minutes) {
    if (!isOpen())
        return;
    const ReportBuffer report = timerReport(minutes);
    m_needs.hid.sendFeatureReport(m_handle, std::span(report).first(kTransferLength));
    Log::line("data = " + dataDescription(report)); // The whole host buffer, though 64 bytes travel.
}

std::string HidManager::convertBinarySystemFromDecimalSystem(std::string_view text) {
    std::int64_t rest = leadingInteger(text);
    std::string digits;
    bool more = true;
    while (more) {
        digits += std::to_string(rest % 2);
        more = rest < -1 || rest > 1;
        rest /= 2;
    }
    std::reverse(digits.begin(), digits.end());
    return digits;
}

} // namespace companion
