#pragma once

#include "core/Lifetime.h"
#include "core/UnixListener.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QSocketNotifier;

namespace companion {

class MainQueue;

// Serves what further starts of the program ask of this one: each connection brings one line, a command and
// what may come with it after a blank, is answered by "ok" or "error …", for some commands later on by a
// second line that tells what came of it, and is closed. Whatever else arrives costs next to nothing: lines
// and connections are bounded, whoever dawdles is dropped, and callers are let in one per kBetweenCallers.
class InstanceServer {
public:
    static constexpr std::size_t kMaxLine = 256;
    static constexpr std::size_t kMaxClients = 8;
    static constexpr std::chrono::milliseconds kBetweenCallers{10};
    static constexpr std::chrono::seconds kClientTime{1};         // At least; at most twice this.
    static constexpr std::chrono::seconds kBetweenComplaints{10}; // In the log.

    // Tells the caller what came of it, in one word: once, or never, and at any time.
    using Report = std::function<void(std::string_view outcome)>;

    struct Command {
        std::string name;
        // Runs on a later turn, when its caller knows that it has been understood. What came with the command
        // is anything that fits into a line.
        std::function<void(const std::string &argument, const Report &report)> action;
        bool reports = false; // Its caller waits for the report.
    };

    // The listener and the queue must outlive the server.
    InstanceServer(const UnixListener &listener, MainQueue &queue, std::vector<Command> commands);
    ~InstanceServer();

private:
    struct Client;

    void acceptNext();
    void read(Client &client);
    void answer(Client &client, std::string_view line);
    void drop(const Client &client);
    void report(std::uint64_t caller, std::string_view outcome);
    void sweepLater();
    void complain(const std::string &text);

    const UnixListener &m_listener;
    MainQueue &m_queue;
    std::vector<Command> m_commands;
    std::unique_ptr<QSocketNotifier> m_acceptable;
    std::list<Client> m_clients; // The oldest first.
    std::uint64_t m_callers = 0; // So far.
    bool m_sweepPosted = false;
    bool m_complained = false; // Not long ago.
    int m_unsaid = 0;
    Lifetime m_life;
};

} // namespace companion
