#pragma once

#include "core/MainQueue.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace companion {

// Cancellable delayed calls of one target, keyed by operation name: the other kind of delay beside MainQueue.
// Destruction cancels everything that is pending.
class DelayedCalls {
public:
    explicit DelayedCalls(MainQueue &queue);

    // Several requests for one operation may be pending; each runs once unless cancelled first.
    void request(std::string_view operation, std::chrono::milliseconds delay, Task call);

    // Cancels every pending request of the operation.
    void cancel(std::string_view operation);

private:
    using Generations = std::map<std::string, std::uint64_t, std::less<>>;

    MainQueue &m_queue;
    std::shared_ptr<Generations> m_generations; // Queued tasks hold it weakly.
};

} // namespace companion
