#pragma once

#include "core/Lifetime.h"
#include "core/UnixListener.h"

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QSocketNotifier;

namespace companion {

class MainQueue;

// Serves what further starts of the program ask of this one: each connection brings one line, is answered by
// "ok" or "error …", and is closed. Whatever else arrives costs next to nothing: lines and connections are
// bounded, whoever dawdles is dropped, and callers are let in one per kBetweenCallers.
class InstanceServer {
public:
    static constexpr std::size_t kMaxLine = 64;
    static constexpr std::size_t kMaxClients = 8;
    static constexpr std::chrono::milliseconds kBetweenCallers{10};
    static constexpr std::chrono::seconds kClientTime{1};         // At least; at most twice this.
    static constexpr std::chrono::seconds kBetweenComplaints{10}; // In the log.

    struct Command {
        std::string name;
        std::function<void()> action; // Runs on a later turn, when its caller has its answer.
    };

    // The listener and the queue must outlive the server.
    InstanceServer(const UnixListener &listener, MainQueue &queue, std::vector<Command> commands);
    ~InstanceServer();

private:
    struct Client;

    void acceptNext();
    void read(Client &client);
    void answer(const Client &client, std::string_view line);
    void drop(const Client &client);
    void sweepLater();
    void complain(const std::string &text);

    const UnixListener &m_listener;
    MainQueue &m_queue;
    std::vector<Command> m_commands;
    std::unique_ptr<QSocketNotifier> m_acceptable;
    std::list<Client> m_clients; // The oldest first.
    bool m_sweepPosted = false;
    bool m_complained = false; // Not long ago.
    int m_unsaid = 0;
    Lifetime m_life;
};

} // namespace companion
