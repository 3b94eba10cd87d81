#include "core/NotificationCenter.h"

#include <algorithm>

namespace companion {

void NotificationCenter::addObserver(const Lifetime &observer, std::string_view name, Handler handler) {
    if (m_posting == 0)
        dropTheDead();
    m_observers.push_back(
        std::make_shared<const Observer>(Observer{observer.watch(), name, std::move(handler)}));
}

void NotificationCenter::post(std::string_view name, std::optional<std::int64_t> object) {
    struct Depth {
        explicit Depth(int &depth) : value(depth) { ++value; }
        ~Depth() { --value; }
        int &value;
    } depth(m_posting);

    const Notification notification{name, object};
    const std::size_t registered = m_observers.size();
    for (std::size_t i = 0; i < registered; ++i) {
        const auto observer = m_observers[i];
        if (observer->name == name && !observer->alive.expired())
            observer->handler(notification);
    }
}

std::size_t NotificationCenter::observerCount() const {
    return static_cast<std::size_t>(std::count_if(m_observers.begin(), m_observers.end(),
                                                  [](const auto &o) { return !o->alive.expired(); }));
}

void NotificationCenter::dropTheDead() {
    std::erase_if(m_observers, [](const auto &observer) { return observer->alive.expired(); });
}

} // namespace companion
