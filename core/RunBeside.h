#pragma once

#include <QCoreApplication>

#include <functional>
#include <system_error>
#include <thread>
#include <utility>

namespace companion {

// Runs `work`, which may wait for a disk, on a thread of its own, and then `done` with its result on the main
// thread's event loop. Where the system gives no thread, both run at once.
template <class Result>
void runBeside(std::function<Result()> work, std::function<void(const Result &)> done) {
    const auto both = [work, done] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [done, result = work()] { done(result); }, Qt::QueuedConnection);
    };
    try {
        std::thread(both).detach();
    } catch (const std::system_error &) {
        both();
    }
}

} // namespace companion
