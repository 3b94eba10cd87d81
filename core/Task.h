#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

namespace companion {

// A call to be made once, later. Unlike std::function it moves only, so it carries anything, and what it
// carries lies inside it up to kRoom bytes: handing a pointer event on allocates nothing.
class Task {
public:
    static constexpr std::size_t kRoom = 64;

    Task() = default;

    template <class F>
    requires(!std::same_as<std::remove_cvref_t<F>, Task> && std::invocable<std::decay_t<F> &>)
        Task(F &&call) { // Not explicit, as with std::function: tasks are written where they are posted.
        using Call = std::decay_t<F>;
        if constexpr (fits<Call>()) {
            ::new (static_cast<void *>(m_room)) Call(std::forward<F>(call));
            m_kind = &kInside<Call>;
        } else {
            ::new (static_cast<void *>(m_room)) Call *(new Call(std::forward<F>(call)));
            m_kind = &kOutside<Call>;
        }
    }

    Task(Task &&other) noexcept { take(other); }
    Task &operator=(Task &&other) noexcept {
        if (this != &other) {
            clear();
            take(other);
        }
        return *this;
    }
    ~Task() { clear(); }

    explicit operator bool() const { return m_kind != nullptr; }

    // As with std::function, an empty one throws.
    void operator()() {
        if (m_kind == nullptr)
            throw std::bad_function_call();
        m_kind->call(m_room);
    }

private:
    struct Kind {
        void (*call)(void *room);
        void (*move)(void *from, void *to); // Leaves nothing behind.
        void (*destroy)(void *room);
    };

    template <class Call>
    static constexpr bool fits() {
        return sizeof(Call) <= kRoom && alignof(Call) <= alignof(std::max_align_t) &&
               std::is_nothrow_move_constructible_v<Call>;
    }

    template <class T>
    static T &in(void *room) {
        return *std::launder(static_cast<T *>(room));
    }

    template <class Call>
    static constexpr Kind kInside{[](void *room) { in<Call>(room)(); },
                                  [](void *from, void *to) {
                                      ::new (to) Call(std::move(in<Call>(from)));
                                      in<Call>(from).~Call();
                                  },
                                  [](void *room) { in<Call>(room).~Call(); }};

    template <class Call>
    static constexpr Kind kOutside{[](void *room) { (*in<Call *>(room))(); },
                                   [](void *from, void *to) { ::new (to) Call *(in<Call *>(from)); },
                                   [](void *room) { delete in<Call *>(room); }};

    void clear() {
        if (m_kind != nullptr)
            std::exchange(m_kind, nullptr)->destroy(m_room);
    }

    void take(Task &other) {
        m_kind = std::exchange(other.m_kind, nullptr);
        if (m_kind != nullptr)
            m_kind->move(other.m_room, m_room);
    }

    alignas(std::max_align_t) std::byte m_room[kRoom];
    const Kind *m_kind = nullptr;
};

} // namespace companion
