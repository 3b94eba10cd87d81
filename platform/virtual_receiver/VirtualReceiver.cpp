#include "platform/virtual_receiver/VirtualReceiver.h"

#include <algorithm>
#include <array>
#include <thread>

namespace companion {
namespace {

constexpr std::uint8_t kReportId = 0x12;
constexpr std::size_t kReportLength = 64;
constexpr std::size_t kShortLength = 2;

} // namespace

VirtualReceiver::VirtualReceiver(MainQueue &queue)
    : VirtualReceiver(queue, [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }) {}

VirtualReceiver::VirtualReceiver(MainQueue &queue, Block block) : m_queue(queue), m_block(std::move(block)) {}

void VirtualReceiver::setEvent(std::span<const std::uint8_t> bytes) {
    const auto fitting = bytes.first(std::min(bytes.size(), kMaxEventBytes));
    m_event.assign(fitting.begin(), fitting.end());
}

bool VirtualReceiver::once(std::span<const std::uint8_t> codes) {
    if (codes.size() > kMaxWaitingCodes - m_once.size())
        return false;
    m_once.insert(m_once.end(), codes.begin(), codes.end());
    return true;
}

void VirtualReceiver::plug() {
    ++m_plugChanges;
    if (m_plugged)
        return;
    m_plugged = true;
    ++m_plugging;
}

void VirtualReceiver::unplug() {
    ++m_plugChanges;
    m_plugged = false;
}

void VirtualReceiver::replug(std::chrono::milliseconds after) {
    unplug();
    if (after <= std::chrono::milliseconds::zero()) {
        plug();
        return;
    }
    m_queue.post(after, m_life.guard([this, change = m_plugChanges] {
        if (change == m_plugChanges)
            plug();
    }));
}

void VirtualReceiver::pressSlideKey(int keyCode) {
    if (m_plugged && m_slideKey)
        m_slideKey(keyCode);
}

void VirtualReceiver::addAnswerObserver(const Lifetime &observer, std::function<void()> call) {
    std::erase_if(m_observers, [](const Observer &each) { return each.alive.expired(); });
    m_observers.push_back({observer.watch(), std::move(call)});
}

int VirtualReceiver::answer(std::span<std::uint8_t> report, std::uint64_t openedAt) {
    ++m_counts.reads;
    if (m_delay > std::chrono::milliseconds::zero())
        m_block(m_delay);
    // Only now: it may have been pulled in the middle of the call.
    if (openedAt != presence() || m_mode == Mode::Stall || report.empty() || report[0] != kReportId)
        return -1;

    std::array<std::uint8_t, kReportLength> full{kReportId};
    if (m_once.empty()) {
        std::copy(m_event.begin(), m_event.end(), full.begin() + 1);
    } else {
        full[1] = m_once.front();
        m_once.pop_front();
    }
    const std::size_t length = std::min(report.size(), m_mode == Mode::Short ? kShortLength : kReportLength);
    std::copy_n(full.begin(), length, report.begin());

    ++m_answered;
    for (std::size_t i = 0; i < m_observers.size(); ++i) {
        if (!m_observers[i].alive.expired())
            m_observers[i].call();
    }
    return static_cast<int>(length);
}

int VirtualReceiver::take(std::span<const std::uint8_t> report, std::uint64_t openedAt) {
    ++m_counts.writes;
    if (openedAt != presence() || m_mode == Mode::Stall || report.empty() || report[0] != kReportId)
        return -1;
    m_written.emplace_back(report.begin(), report.end());
    if (m_written.size() > kKeptReports)
        m_written.pop_front();
    return static_cast<int>(report.size());
}

} // namespace companion
