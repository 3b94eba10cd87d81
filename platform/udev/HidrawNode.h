#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/HotplugWatch.h"

#include <QSocketNotifier>

#include <memory>
#include <string>

namespace companion {

// One hidraw node and what is under way on it. A node whose device has gone fails; nothing more is read.
class HidrawNode {
public:
    HidrawNode(MainQueue &queue, std::string path);
    ~HidrawNode();
    HidrawNode(const HidrawNode &) = delete;
    HidrawNode &operator=(const HidrawNode &) = delete;

    const std::string &path() const { return m_path; }

    bool open();
    bool close();
    void onInputReport(std::size_t length, HotplugWatch::Report received);
    void getFeatureReport(std::uint8_t reportId, std::size_t length, std::chrono::milliseconds timeout,
                          HotplugWatch::Report done);
    bool setOutputReport(std::uint8_t reportId, std::span<const std::uint8_t> bytes);

private:
    class OpenFile;
    struct FeatureRead;

    void readInput(std::size_t length);
    void finish(std::span<const std::uint8_t> answer);

    MainQueue &m_queue;
    std::string m_path;
    std::shared_ptr<const OpenFile> m_file;
    HotplugWatch::Report m_received;
    std::unique_ptr<QSocketNotifier> m_readable;

    // At most one at a time; a new one makes the one before answer nothing.
    std::shared_ptr<FeatureRead> m_read;
    std::unique_ptr<QSocketNotifier> m_readDone;
    Lifetime m_life;
};

} // namespace companion
