#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "receiver/ReportProtocol.h"

#include <benchmark/benchmark.h>

namespace companion {
namespace {

void decodeReport(benchmark::State &state) {
    std::uint8_t code = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(notificationsFor(code++));
}
BENCHMARK(decodeReport)->Name("receiver/decode a report");

// As many observers as the program has, one of them for the name posted.
void postNotification(benchmark::State &state) {
    NotificationCenter center;
    const Lifetime life;
    std::int64_t sum = 0;
    for (const auto name :
         {NOTIFY_REFRESHPEN, NOTIFY_CLOSESETTINGWINDOW, SYSTEM_SHOWSETTINGPAGE, LOCAL_MOUSESIZEVALUEADD,
          LOCAL_MOUSESIZEVALUESUB, LOCAL_MOUSETYPESWITCH, LOCAL_MOUSEEFFECTON, LOCAL_DEVICECONNECT,
          LOCAL_DEVICEDISCONNECT, SYSTEM_SETMOUSEIGNORES})
        center.addObserver(life, name, [&](const Notification &n) { sum += n.integerValue(); });
    for ([[maybe_unused]] auto _ : state)
        center.post(SYSTEM_SETMOUSEIGNORES, 1);
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(postNotification)->Name("notification/post");

} // namespace
} // namespace companion
