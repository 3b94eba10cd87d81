#pragma once

#include "core/Lifetime.h"
#include "core/UnixListener.h"
#include "platform/virtual_receiver/FeedConnection.h"
#include "platform/virtual_receiver/ReceiverFeed.h"

#include <list>
#include <memory>
#include <string>

class QSocketNotifier;

namespace companion {

// Listens on a Unix socket of its own making and serves each connection as a feed.
class SocketFeed final : public ReceiverFeed {
public:
    static constexpr std::size_t kMaxConnections = 16;

    // At a path where there is nothing.
    static std::unique_ptr<ReceiverFeed> create(const std::string &path, VirtualReceiver &receiver,
                                                MainQueue &queue, std::string &error);

    // In place of a socket that nobody listens on any more.
    static std::unique_ptr<ReceiverFeed> replace(const std::string &path, VirtualReceiver &receiver,
                                                 MainQueue &queue, std::string &error);

    SocketFeed(std::unique_ptr<UnixListener> listener, VirtualReceiver &receiver, MainQueue &queue);
    ~SocketFeed() override;

    void removeName() const override { m_listener->removeName(); }

private:
    void accept();
    void refuse(int connection);
    void dropEnded();

    std::unique_ptr<UnixListener> m_listener;
    VirtualReceiver &m_receiver;
    MainQueue &m_queue;
    std::unique_ptr<QSocketNotifier> m_acceptable;
    std::list<FeedConnection> m_connections;
    Lifetime m_life;
};

} // namespace companion
