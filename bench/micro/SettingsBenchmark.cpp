#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace companion {
namespace {

// To the disk, as each press of a size key does.
void saveSettings(benchmark::State &state) {
    const QTemporaryDir folder;
    SettingsStore store(folder.filePath(QStringLiteral("settings.conf")));
    ConfigManager config(store);
    std::int64_t size = 50;
    for ([[maybe_unused]] auto _ : state) {
        config.setMouseSizeValue(size = size == 250 ? 50 : size + 10);
        config.saveUserDefault();
    }
}
BENCHMARK(saveSettings)->Name("settings/save")->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace companion
