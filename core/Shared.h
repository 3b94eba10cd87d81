#pragma once

#include <cassert>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace companion {

// The way in to a process-wide single instance. main (or a test fixture) opens a Scope that says how to make
// the instance; the first get() makes it, exactly once; the scope's end destroys it.
template <class T>
class Shared {
public:
    class Scope {
    public:
        explicit Scope(std::function<std::unique_ptr<T>()> make) : m_make(std::move(make)) {
            m_outer = std::exchange(s_current, this);
        }
        ~Scope() { s_current = m_outer; }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        friend class Shared;
        std::function<std::unique_ptr<T>()> m_make;
        std::once_flag m_once;
        std::unique_ptr<T> m_instance;
        Scope *m_outer = nullptr;
    };

    // Safe from any thread while a scope is open; needs an open scope.
    static T &get() {
        Scope *scope = s_current;
        assert(scope != nullptr);
        std::call_once(scope->m_once, [scope] { scope->m_instance = scope->m_make(); });
        return *scope->m_instance;
    }

private:
    inline static Scope *s_current = nullptr;
};

} // namespace companion
