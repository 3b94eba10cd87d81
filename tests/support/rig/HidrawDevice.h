#pragma once

#include "support/rig/HidrawTestbed.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <string>
#include <vector>

namespace companion::rig {

// A USB HID device in a testbed, one hidraw node for each interface. As with hardware, what is open dies with
// the pull, in the middle of a call too, and stays dead when the device comes back. Unplugged at first.
class HidrawDevice {
public:
    enum class Interface {
        Keyboard, // Refuses feature reports.
        Vendor,   // Answers them.
    };
    using Bytes = std::vector<std::uint8_t>;

    HidrawDevice(HidrawTestbed &bed, std::uint16_t vendorId, std::uint16_t productId,
                 std::vector<Interface> interfaces = {Interface::Vendor});
    ~HidrawDevice();
    HidrawDevice(const HidrawDevice &) = delete;
    HidrawDevice &operator=(const HidrawDevice &) = delete;

    void plug(int firstNode = 0); // /dev/hidrawN and up.
    void unplug();

    // Whether its nodes can be opened, as when the rules have not given the rights yet.
    void setReachable(bool reachable);

    void setEvent(Bytes bytes); // Bytes 1 and up of every answer.
    void sendInput(const Bytes &report);
    // What a keyboard interface's event node, /dev/input/eventN, tells of a key. Value 1: pressed, 2: again.
    void sendKey(int code, int value);
    std::atomic<bool> stalled = false; // Refuses whatever it is asked.
    std::atomic<milliseconds> delay{}; // Every feature read lasts so long, unless a pull ends it.

    std::vector<Bytes> written() const; // Feature reports, report ID first.
    std::vector<Bytes> outputs() const; // Output reports, report ID first.
    std::atomic<int> reads = 0;         // Feature reads that have begun.

private:
    friend class HidrawTestbed;
    struct Node {
        std::string path;     // "/dev/hidraw0".
        std::string terminal; // What stands behind the path.
        int otherEnd = -1;
        unsigned major = 0, minor = 0; // The terminal's own: whoever asks the open node gets these.
    };
    // What programs do to the node of an interface, opened when plugging-in number `presence` was current; on
    // the testbed's thread. A length, or minus an error number.
    long getFeature(std::uint64_t presence, std::size_t interface, Bytes &report);
    long setFeature(std::uint64_t presence, std::size_t interface, const Bytes &report);
    long output(std::uint64_t presence, const Bytes &report);
    bool isPresent(std::uint64_t presence) const;

    void link(const Node &node) const;
    void addNode(std::size_t interface, int number);
    Node openNode(const std::string &path) const;
    void addEventNode(const std::string &hid, int number);
    Bytes descriptor(std::size_t interface) const;

    HidrawTestbed &m_bed;
    const std::uint16_t m_vendorId;
    const std::uint16_t m_productId;
    const std::vector<Interface> m_interfaces;
    std::vector<std::string> m_folders; // In sysfs, parents first.
    std::vector<Node> m_nodes;
    std::vector<Node> m_eventNodes;
    bool m_reachable = true;

    mutable std::mutex m_mutex;
    std::condition_variable m_pulled;
    std::uint64_t m_plugIns = 0;
    std::uint64_t m_presence = 0; // Which plugging-in this is; 0 while unplugged.
    Bytes m_event;
    std::vector<Bytes> m_written;
    std::vector<Bytes> m_outputs;
};

} // namespace companion::rig
