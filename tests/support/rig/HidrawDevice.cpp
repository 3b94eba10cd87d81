#include "support/rig/HidrawDevice.h"

#include <linux/input.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <umockdev.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace companion::rig {
namespace {

constexpr std::uint8_t kReportId = 0x12;
constexpr std::size_t kReportLength = 64;

// The smallest descriptors with these usages: all that a program looks at.
const HidrawDevice::Bytes kKeyboardDescriptor = {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0xC0};
const HidrawDevice::Bytes kVendorDescriptor = {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0xC0};

std::string print(const char *format, auto... values) {
    char text[80];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// Adds a device; returns its folder in sysfs. Attributes and then properties are pairs of C strings, with
// kEnd in between.
constexpr const char *kEnd = nullptr;
std::string add(UMockdevTestbed *bed, const char *subsystem, const std::string &name,
                const std::string &parent, auto... texts) {
    char *path = umockdev_testbed_add_device(bed, subsystem, name.c_str(),
                                             parent.empty() ? nullptr : parent.c_str(), texts..., kEnd);
    if (path == nullptr)
        throw std::runtime_error("cannot add the device " + name);
    std::string folder = path;
    g_free(path);
    return folder;
}

// A raw terminal: what is written to one end is read at the other. Returns the end that is ours alone: when
// it is closed, what programs have open is dead.
int openTerminal(std::string &otherEnd) {
    termios raw{};
    cfmakeraw(&raw);
    int ours = -1;
    int theirs = -1;
    char name[64];
    if (openpty(&ours, &theirs, name, &raw, nullptr) != 0)
        throw std::system_error(errno, std::generic_category(), "a terminal for a device node");
    fcntl(ours, F_SETFD, FD_CLOEXEC);
    close(theirs);
    otherEnd = name;
    return ours;
}

} // namespace

HidrawDevice::HidrawDevice(HidrawTestbed &bed, std::uint16_t vendorId, std::uint16_t productId,
                           std::vector<Interface> interfaces)
    : m_bed(bed),
      m_vendorId(vendorId),
      m_productId(productId),
      m_interfaces(std::move(interfaces)) {}

HidrawDevice::~HidrawDevice() {
    unplug();
    // Clients may still have it open.
    const std::lock_guard lock(m_bed.m_mutex);
    for (auto &[client, route] : m_bed.m_clients)
        if (route.device == this)
            route = {};
}

void HidrawDevice::plug(int firstNode) {
    if (!m_nodes.empty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_presence = ++m_plugIns;
    }
    // One port for each node, so that several devices fit in.
    m_folders.push_back(add(m_bed.m_bed, "usb", print("1-%d", firstNode + 1), "", "idVendor",
                            print("%04x", m_vendorId).c_str(), "idProduct",
                            print("%04x", m_productId).c_str(), "bcdDevice", "0100", "manufacturer", "Test",
                            "product", "Receiver", "serial", "0001", kEnd, "DEVTYPE", "usb_device"));
    for (std::size_t i = 0; i < m_interfaces.size(); ++i)
        addNode(i, firstNode + static_cast<int>(i));
}

void HidrawDevice::link(const Node &node) const {
    const std::filesystem::path path = m_bed.m_folder + node.path;
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::remove(path);
    std::filesystem::create_symlink(m_reachable ? node.terminal : "nowhere", path);
}

void HidrawDevice::setReachable(bool reachable) {
    m_reachable = reachable;
    for (const Node &node : m_nodes)
        link(node);
    for (const Node &node : m_eventNodes)
        link(node);
}

void HidrawDevice::addNode(std::size_t interface, int number) {
    const Node node = openNode(print("/dev/hidraw%d", number));
    m_bed.route(node.path, {this, interface, m_presence});

    const std::string usbInterface =
        add(m_bed.m_bed, "usb", print("%d:1.%zu", number, interface), m_folders.front(), "bInterfaceNumber",
            print("%02zu", interface).c_str(), kEnd, "DEVTYPE", "usb_interface");
    const std::string hid =
        add(m_bed.m_bed, "hid", print("0003:%04X:%04X.%04X", m_vendorId, m_productId, ++m_bed.m_hidNumber),
            usbInterface, kEnd, "HID_ID", print("0003:%08X:%08X", m_vendorId, m_productId).c_str(),
            "HID_NAME", "Test Receiver", "HID_UNIQ", "0001", "HID_PHYS", "usb-test/input0");
    const Bytes report = descriptor(interface);
    umockdev_testbed_set_attribute_binary(m_bed.m_bed, hid.c_str(), "report_descriptor",
                                          const_cast<guint8 *>(report.data()),
                                          static_cast<int>(report.size()));
    const std::string raw =
        add(m_bed.m_bed, "hidraw", print("hidraw%d", number), hid, "dev",
            print("%u:%u", node.major, node.minor).c_str(), kEnd, "DEVNAME", node.path.c_str(), "MAJOR",
            std::to_string(node.major).c_str(), "MINOR", std::to_string(node.minor).c_str());
    umockdev_testbed_set_attribute_link(m_bed.m_bed, raw.c_str(), "device", "..");
    m_folders.insert(m_folders.end(), {usbInterface, hid, raw});
    m_nodes.push_back(node);
    if (m_interfaces[interface] == Interface::Keyboard)
        addEventNode(hid, number);
}

HidrawDevice::Node HidrawDevice::openNode(const std::string &path) const {
    Node node{path, {}};
    node.otherEnd = openTerminal(node.terminal);
    struct stat status {};
    stat(node.terminal.c_str(), &status);
    node.major = gnu_dev_major(status.st_rdev);
    node.minor = gnu_dev_minor(status.st_rdev);
    link(node);
    return node;
}

void HidrawDevice::addEventNode(const std::string &hid, int number) {
    m_eventNodes.push_back(openNode(print("/dev/input/event%d", number)));
    const Node &node = m_eventNodes.back();
    const std::string input =
        add(m_bed.m_bed, "input", print("input%d", number), hid, kEnd, "NAME", "Test Receiver");
    m_folders.push_back(input);
    m_folders.push_back(add(m_bed.m_bed, "input", print("event%d", number), input, "dev",
                            print("%u:%u", node.major, node.minor).c_str(), kEnd, "DEVNAME",
                            node.path.c_str(), "MAJOR", std::to_string(node.major).c_str(), "MINOR",
                            std::to_string(node.minor).c_str()));
}

void HidrawDevice::unplug() {
    if (m_nodes.empty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_presence = 0;
    }
    m_pulled.notify_all();
    for (const Node &node : m_nodes) {
        std::filesystem::remove(m_bed.m_folder + node.path);
        m_bed.route(node.path, {});
        close(node.otherEnd);
    }
    for (const Node &node : m_eventNodes) {
        std::filesystem::remove(m_bed.m_folder + node.path);
        close(node.otherEnd);
    }
    m_eventNodes.clear();
    for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder) {
        umockdev_testbed_uevent(m_bed.m_bed, folder->c_str(), "remove");
        umockdev_testbed_remove_device(m_bed.m_bed, folder->c_str());
    }
    m_folders.clear();
    m_nodes.clear();
}

HidrawDevice::Bytes HidrawDevice::descriptor(std::size_t interface) const {
    return m_interfaces[interface] == Interface::Keyboard ? kKeyboardDescriptor : kVendorDescriptor;
}

bool HidrawDevice::isPresent(std::uint64_t presence) const {
    const std::lock_guard lock(m_mutex);
    return presence != 0 && presence == m_presence;
}

long HidrawDevice::getFeature(std::uint64_t presence, std::size_t interface, Bytes &report) {
    if (m_interfaces[interface] == Interface::Keyboard)
        return -EPIPE;
    std::unique_lock lock(m_mutex);
    ++reads;
    m_pulled.wait_for(lock, delay.load(), [&] { return m_presence != presence; });
    if (m_presence != presence)
        return -ENODEV;
    if (stalled || report.empty() || (report[0] != kReportId && report[0] != 0))
        return -EPIPE;
    // Without a report ID the kernel puts a zero before the report.
    Bytes full(report[0] == 0 ? kReportLength + 1 : kReportLength);
    full[0] = report[0];
    std::copy_n(m_event.begin(), std::min(m_event.size(), full.size() - 1), full.begin() + 1);
    const std::size_t length = std::min(report.size(), full.size());
    std::copy_n(full.begin(), length, report.begin());
    return static_cast<long>(length);
}

long HidrawDevice::setFeature(std::uint64_t presence, std::size_t interface, const Bytes &report) {
    const std::lock_guard lock(m_mutex);
    if (presence != m_presence)
        return -ENODEV;
    if (stalled || m_interfaces[interface] == Interface::Keyboard)
        return -EPIPE;
    m_written.push_back(report);
    return static_cast<long>(report.size());
}

long HidrawDevice::output(std::uint64_t presence, const Bytes &report) {
    const std::lock_guard lock(m_mutex);
    if (presence != m_presence)
        return -ENODEV;
    if (stalled)
        return -EPIPE;
    m_outputs.push_back(report);
    return static_cast<long>(report.size());
}

void HidrawDevice::setEvent(Bytes bytes) {
    const std::lock_guard lock(m_mutex);
    m_event = std::move(bytes);
}

void HidrawDevice::sendInput(const Bytes &report) {
    if (!m_nodes.empty() && ::write(m_nodes.back().otherEnd, report.data(), report.size()) < 0)
        throw std::system_error(errno, std::generic_category(), "an input report");
}

void HidrawDevice::sendKey(int code, int value) {
    input_event event{};
    event.type = EV_KEY;
    event.code = static_cast<std::uint16_t>(code);
    event.value = value;
    if (::write(m_eventNodes.at(0).otherEnd, &event, sizeof event) != sizeof event)
        throw std::system_error(errno, std::generic_category(), "a key");
}

std::vector<HidrawDevice::Bytes> HidrawDevice::written() const {
    const std::lock_guard lock(m_mutex);
    return m_written;
}

std::vector<HidrawDevice::Bytes> HidrawDevice::outputs() const {
    const std::lock_guard lock(m_mutex);
    return m_outputs;
}

} // namespace companion::rig
