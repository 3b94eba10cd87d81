#pragma once

#include "core/MainQueue.h"

#include <memory>
#include <string>

namespace companion {

class VirtualReceiver;

// Where the virtual receiver's commands come from. Everything happens on the main thread's event loop, from
// its next turn on; the application object must exist.
//
//   "-"                                      standard input, replies to standard output
//   an existing regular file or FIFO         a script, replies to standard output; a regular file is checked
//                                            as a whole first
//   nothing yet, or a socket left behind     a Unix socket for several connections at once, each with its
//                                            own replies; only this user may connect (mode 0600)
//
// The end of the input ends the feed, nothing else. Destruction removes the socket.
class ReceiverFeed {
public:
    virtual ~ReceiverFeed() = default;

    // The socket's name goes now, if there is one. Any thread.
    virtual void removeName() const {}

    // Null, and a text that names the path (for a script: and the line), when there is no such feed. From
    // then on the process ignores SIGPIPE. Receiver and queue must outlive the feed.
    static std::unique_ptr<ReceiverFeed> open(const std::string &path, VirtualReceiver &receiver,
                                              MainQueue &queue, std::string &error);
};

} // namespace companion
