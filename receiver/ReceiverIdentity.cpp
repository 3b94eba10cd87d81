#include "receiver/ReceiverIdentity.h"

#include "core/Log.h"

#include <charconv>

namespace companion {
namespace {

std::optional<std::uint16_t> parseIdentifier(std::string_view text) {
    std::uint16_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, failure] = std::from_chars(text.data(), end, value, 16);
    if (text.empty() || text.size() > 4 || failure != std::errc{} || stopped != end)
        return std::nullopt;
    return value;
}

} // namespace

ReceiverIdentity builtInReceiverIdentity() {
    return {COMPANION_RECEIVER_VENDOR_ID, COMPANION_RECEIVER_PRODUCT_ID};
}

ReceiverIdentity builtInMonitoredIdentity() {
    return {COMPANION_MONITORED_VENDOR_ID, COMPANION_MONITORED_PRODUCT_ID};
}

std::optional<ReceiverIdentity> parseReceiverIdentity(std::string_view text, std::string &error) {
    const auto fail = [&error](std::string_view offender, const char *why) {
        error = '\'' + singleLine(offender) + "' " + why;
        return std::nullopt;
    };
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return fail(text, "is no receiver: write VVVV:PPPP, such as 1209:0001");
    const std::string_view vendorText = text.substr(0, colon);
    const std::string_view productText = text.substr(colon + 1);
    const auto vendor = parseIdentifier(vendorText);
    if (!vendor)
        return fail(vendorText, "is no vendor identifier: write one to four hex digits");
    if (*vendor == 0)
        return fail(vendorText, "is no vendor identifier: 0 belongs to nobody");
    const auto product = parseIdentifier(productText);
    if (!product)
        return fail(productText, "is no product identifier: write one to four hex digits");
    return ReceiverIdentity{*vendor, *product};
}

} // namespace companion
