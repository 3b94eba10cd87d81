#pragma once

#include <memory>

namespace companion {

// A member that lets others see, without owning, whether its holder still lives.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime &) = delete;
    Lifetime &operator=(const Lifetime &) = delete;

    std::weak_ptr<const void> watch() const { return m_token; }

    // Wraps a task so that it does nothing once the holder is gone.
    template <class F>
    auto guard(F task) const {
        return [alive = watch(), task = std::move(task)](auto &&...arguments) mutable {
            if (!alive.expired())
                task(std::forward<decltype(arguments)>(arguments)...);
        };
    }

private:
    std::shared_ptr<const void> m_token = std::make_shared<char>();
};

} // namespace companion
