#pragma once

#include "core/Lifetime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace companion {

// A post as its observers see it. The payload is a number, a truth value, or nothing.
struct Notification {
    std::string_view name;
    std::optional<std::int64_t> object;

    std::int64_t integerValue() const { return object.value_or(0); } // Nothing reads as 0.
    bool boolValue() const { return integerValue() != 0; }           // Nothing reads as no.
};

// Name-keyed publish and subscribe on the main thread. Observers run inside post(), in the order in which
// they registered, and are never removed: one whose lifetime has ended is skipped and dropped. An observer
// may post, and may add observers, while it is being called; one added during a post is not called by that
// post.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification &)>;

    // `name` must outlive the centre: use the constants of NotificationNames.h.
    void addObserver(const Lifetime &observer, std::string_view name, Handler handler);
    void post(std::string_view name, std::optional<std::int64_t> object = std::nullopt);

    std::size_t observerCount() const; // Of living observers, for tests of leaks.

private:
    struct Observer {
        std::weak_ptr<const void> alive;
        std::string_view name;
        Handler handler;
    };

    void dropTheDead();

    std::vector<std::shared_ptr<const Observer>>
        m_observers; // Shared: a growing list must not move one in use.
    int m_posting = 0;
};

} // namespace companion
