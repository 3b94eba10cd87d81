#include "core/DelayedCalls.h"

namespace companion {

DelayedCalls::DelayedCalls(MainQueue &queue)
    : m_queue(queue),
      m_generations(std::make_shared<Generations>()) {}

void DelayedCalls::request(std::string_view operation, std::chrono::milliseconds delay, Task call) {
    const std::uint64_t generation = m_generations->try_emplace(std::string(operation)).first->second;
    m_queue.post(delay, [generations = std::weak_ptr(m_generations), operation = std::string(operation),
                         generation, call = std::move(call)]() mutable {
        const auto alive = generations.lock();
        if (alive && alive->at(operation) == generation)
            call();
    });
}

void DelayedCalls::cancel(std::string_view operation) {
    if (const auto found = m_generations->find(operation); found != m_generations->end())
        ++found->second;
}

} // namespace companion
