#include "platform/hidapi/InterfaceChoice.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace companion {
namespace {

constexpr std::uint16_t kFirstVendorDefinedPage = 0xFF00;

} // namespace

std::vector<HidInterface> likeliestFirst(const std::vector<HidUsage> &usages) {
    std::vector<HidInterface> interfaces;
    for (const HidUsage &usage : usages) {
        auto known = std::find_if(interfaces.begin(), interfaces.end(),
                                  [&usage](const HidInterface &each) { return each.path == usage.path; });
        if (known == interfaces.end())
            known = interfaces.insert(known, HidInterface{usage.path});
        known->vendorDefined |= usage.usagePage == 0 || usage.usagePage >= kFirstVendorDefinedPage;
    }
    std::stable_partition(interfaces.begin(), interfaces.end(),
                          [](const HidInterface &each) { return each.vendorDefined; });
    return interfaces;
}

int chooseInterface(const std::vector<HidInterface> &interfaces,
                    const std::function<bool(const HidInterface &, bool mustAnswer)> &answers) {
    const bool mustAnswer = interfaces.size() != 1 || !interfaces.front().vendorDefined;
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        if (answers(interfaces[i], mustAnswer))
            return static_cast<int>(i);
    }
    return -1;
}

bool isDeviceNameOf(std::string_view name, std::uint16_t vendorId, std::uint16_t productId) {
    std::array<char, 16> identity{};
    std::snprintf(identity.data(), identity.size(), ":%04X:%04X.", vendorId, productId);
    return name.find(identity.data()) != std::string_view::npos;
}

} // namespace companion
