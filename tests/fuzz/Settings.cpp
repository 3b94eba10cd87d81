#include "fuzz/FuzzCheck.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "settings/StoredValues.h"

#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cmath>

using namespace companion;

namespace {

bool same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool same(const std::optional<Color> &a, const std::optional<Color> &b) {
    if (!a || !b)
        return a.has_value() == b.has_value();
    return same(a->red, b->red) && same(a->green, b->green) && same(a->blue, b->blue) &&
           same(a->alpha, b->alpha);
}

void checkValues(const QString &text) {
    if (const auto number = stored::toSigned(text))
        FUZZ_CHECK(stored::toSigned(stored::fromSigned(*number)) == number);
    if (const auto number = stored::toUnsigned(text))
        FUZZ_CHECK(stored::toUnsigned(stored::fromUnsigned(*number)) == number);
    if (const auto number = stored::toSinglePrecision(text)) {
        const auto again = stored::toSinglePrecision(stored::fromDouble(*number));
        FUZZ_CHECK(again && same(*again, *number));
    }
    if (const auto colour = stored::toColor(text))
        FUZZ_CHECK(same(stored::toColor(stored::fromColor(colour)), colour));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const QTemporaryDir folder;
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    checkValues(QString::fromUtf8(bytes));

    const QString path = folder.filePath(QStringLiteral("settings.conf"));
    QFile::remove(path);
    QFile file(path);
    FUZZ_CHECK(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();

    SettingsStore store(path);
    ConfigManager config(store);
    config.saveUserDefault();
    SettingsStore storeAgain(path);
    ConfigManager again(storeAgain);
    FUZZ_CHECK(config.type() == again.type());
    FUZZ_CHECK(config.mouseSizeValue() == again.mouseSizeValue());
    FUZZ_CHECK(config.mouseZoomValue() == again.mouseZoomValue());
    FUZZ_CHECK(config.timeValue() == again.timeValue());
    FUZZ_CHECK(same(config.backColor(), again.backColor()));
    FUZZ_CHECK(same(config.frontColor(), again.frontColor()));
    return 0;
}
