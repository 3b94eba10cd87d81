#pragma once

#include "platform/virtual_receiver/VirtualReceiver.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace companion {

// One line of the virtual receiver's command language:
//
//   event B [B…]      bytes 1 and up of every answer from now on, hex, at most 63
//   once B…           codes for one answered poll each, in order, before the standing event
//   plug, unplug      puts it in, pulls it out
//   replug [MS]       pulls it out now, puts it in again after MS milliseconds (0)
//   key page-up|page-down|b|f5   presses that slide key and lets it go
//   mode ok|stall|short   stall: reads and writes fail without a removal; short: answers end after byte 1
//   delay MS          every poll blocks for so long
//   wait MS           replies after MS milliseconds
//   wait-get N [MS]   replies once N more polls have been answered; an error if that takes longer than MS
//   sets              replies with the feature reports written so far (the last 256), hex
//   counts            replies with opens, refused opens, closes, reads and writes so far
struct ReceiverCommand {
    enum class Verb { Event, Once, Plug, Unplug, Replug, Key, Mode, Delay, Wait, WaitGet, Sets, Counts };

    Verb verb = Verb::Counts;
    VirtualReceiver::Bytes bytes;                       // event, once
    VirtualReceiver::Mode mode{};                       // mode
    int keyCode = 0;                                    // key
    std::uint32_t count = 0;                            // wait-get
    std::optional<std::chrono::milliseconds> time = {}; // replug, delay, wait, wait-get
};

// Blank lines and lines that start with # say nothing.
bool isSilentLine(std::string_view line);

// Nothing, and a one-line text that quotes the offender, when the line is no command. Any bytes will do.
std::optional<ReceiverCommand> parseReceiverCommand(std::string_view line, std::string &error);

// Of all the commands there are, with what follows each: for whoever describes the language.
std::vector<std::string_view> receiverCommandUsages();

} // namespace companion
