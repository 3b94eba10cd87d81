#include "platform/instance/InstanceServer.h"

#include "core/Log.h"
#include "core/MainQueue.h"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cerrno>

namespace companion {
namespace {

using namespace std::chrono_literals;

bool isSameUser(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

} // namespace

struct InstanceServer::Client {
    FileDescriptor socket;
    std::unique_ptr<QSocketNotifier> readable;
    std::uint64_t number;
    std::string received{};
    bool seenBySweep = false;
    bool awaitsReport = false;
};

InstanceServer::InstanceServer(const UnixListener &listener, MainQueue &queue, std::vector<Command> commands)
    : m_listener(listener),
      m_queue(queue),
      m_commands(std::move(commands)),
      m_acceptable(std::make_unique<QSocketNotifier>(listener.descriptor(), QSocketNotifier::Read)) {
    QObject::connect(m_acceptable.get(), &QSocketNotifier::activated, m_acceptable.get(),
                     [this] { acceptNext(); });
}

InstanceServer::~InstanceServer() = default;

void InstanceServer::acceptNext() {
    FileDescriptor connection = m_listener.accept();
    const bool exhausted = !connection && (errno == EMFILE || errno == ENFILE);
    m_acceptable->setEnabled(false);
    m_queue.post(exhausted ? 1s : kBetweenCallers, m_life.guard([this] { m_acceptable->setEnabled(true); }));
    if (!connection)
        return;
    if (!isSameUser(connection.get()))
        return complain("a caller that is another user was turned away");
    // The oldest goes, not the newest: it has had its time, and who means it sends its line at once.
    if (m_clients.size() == kMaxClients) {
        drop(m_clients.front());
        complain("too many callers at a time");
    }
    auto readable = std::make_unique<QSocketNotifier>(connection.get(), QSocketNotifier::Read);
    Client &client = m_clients.emplace_back(Client{std::move(connection), std::move(readable), ++m_callers});
    QObject::connect(client.readable.get(), &QSocketNotifier::activated, client.readable.get(),
                     [this, &client] { read(client); });
    sweepLater();
    read(client);
}

void InstanceServer::read(Client &client) {
    std::array<char, kMaxLine + 1> bytes;
    const ssize_t length =
        ::recv(client.socket.get(), bytes.data(), bytes.size() - client.received.size(), 0);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (length <= 0)
        return drop(client);
    client.received.append(bytes.data(), static_cast<std::size_t>(length));
    const std::size_t end = client.received.find('\n');
    if (end != std::string::npos)
        return answer(client, std::string_view(client.received).substr(0, end));
    if (client.received.size() > kMaxLine)
        answer(client, client.received);
}

void InstanceServer::answer(Client &client, std::string_view line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const auto command = std::find_if(m_commands.begin(), m_commands.end(), [&](const Command &each) {
        return each.name == line.substr(0, blank);
    });
    const bool known = command != m_commands.end();
    const std::string_view text = known ? "ok\n" : "error unknown command\n";
    // A new connection's buffer is empty: it takes this at once, or nobody is there to read it.
    [[maybe_unused]] const ssize_t sent =
        ::send(client.socket.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (known)
        m_queue.post(
            0ms, m_life.guard([this, action = command->action, number = client.number,
                               argument = std::string(line.substr(std::min(blank + 1, line.size())))] {
                action(argument,
                       m_life.guard([this, number](std::string_view outcome) { report(number, outcome); }));
            }));
    else
        complain("a caller asked for something unknown");
    client.awaitsReport = known && command->reports;
    if (client.awaitsReport)
        client.readable->setEnabled(false); // Nothing more is expected.
    else
        drop(client);
}

void InstanceServer::report(std::uint64_t caller, std::string_view outcome) {
    const auto client = std::find_if(m_clients.begin(), m_clients.end(), [&](const Client &each) {
        return each.number == caller && each.awaitsReport;
    });
    if (client == m_clients.end())
        return;
    const std::string text = std::string(outcome) + "\n";
    [[maybe_unused]] const ssize_t sent =
        ::send(client->socket.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    drop(*client);
}

void InstanceServer::drop(const Client &client) {
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
                                    [&](const Client &each) { return &each == &client; });
    // We may be in a call from its own notifier, whose end has to wait.
    found->readable->setEnabled(false);
    found->readable.release()->deleteLater();
    m_clients.erase(found);
}

void InstanceServer::sweepLater() {
    if (m_sweepPosted)
        return;
    m_sweepPosted = true;
    m_queue.post(kClientTime, m_life.guard([this] {
        m_sweepPosted = false;
        for (auto next = m_clients.begin(); next != m_clients.end();) {
            Client &client = *next++;
            if (client.awaitsReport)
                continue; // It is we who dawdle.
            if (std::exchange(client.seenBySweep, true)) {
                drop(client);
                complain("a caller that asked for nothing was dropped");
            }
        }
        if (!m_clients.empty())
            sweepLater();
    }));
}

void InstanceServer::complain(const std::string &text) {
    if (m_complained) {
        ++m_unsaid;
        return;
    }
    m_complained = true;
    Log::line("control socket: " + text);
    m_queue.post(kBetweenComplaints, m_life.guard([this] {
        m_complained = false;
        if (m_unsaid > 0)
            complain("something of the kind " + std::to_string(std::exchange(m_unsaid, 0)) + " times more");
    }));
}

} // namespace companion
