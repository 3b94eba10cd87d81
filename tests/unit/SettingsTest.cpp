#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "support/LogRecorder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace companion {
namespace {

class SettingsTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("new/presenter-companion.conf"));
    LogRecorder log;

    void writeFile(const QByteArray &content) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QByteArray fileContent() {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST_F(SettingsTest, WhatIsSavedComesBackExactlyButForAlphasInSinglePrecision) {
    const Color odd{0.1, 1.0 / 3.0, 1e-17, 0.7};
    {
        SettingsStore store(path);
        ConfigManager config(store);
        config.setType(7);
        config.setMouseSizeValue(std::numeric_limits<std::int64_t>::min());
        config.setMouseZoomValue(std::numeric_limits<std::int64_t>::max());
        config.setMouseSpeedValue(-1);
        config.setTimeValue(300);
        config.setBackAlpha(0.3);
        config.setFrontAlpha(1e300);
        config.setBackColor(odd);
        config.setFrontColor(std::nullopt);
        config.saveUserDefault();
        EXPECT_TRUE(fileContent().startsWith("[General]\n")) << "on disk when the save returns";
    }
    SettingsStore store(path);
    const ConfigManager config(store);
    EXPECT_EQ(config.type(), 7U);
    EXPECT_EQ(config.mouseSizeValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(config.mouseZoomValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(config.mouseSpeedValue(), -1);
    EXPECT_EQ(config.timeValue(), 300);
    EXPECT_EQ(config.backAlpha(), 0.30000001192092896);
    EXPECT_TRUE(std::isinf(config.frontAlpha()));
    EXPECT_EQ(config.backColor(), odd);
    EXPECT_EQ(config.frontColor(), std::nullopt);
}

TEST_F(SettingsTest, ValuesOfTheWrongKindAreReadAsFarAsTheyMeanSomething) {
    writeFile("[General]\n"
              "LOCAL_MOUSETYPE=-1\n"
              "LOCAL_MOUSESIZEVALUE=120 points\n"
              "LOCAL_MOUSEROOMVALUE=large\n"
              "LOCAL_MOUSESPEEDVALUE=99999999999999999999999\n"
              "LOCAL_TIMEVALUE=12.9\n"
              "LOCAL_BACKALPHA=half\n"
              "LOCAL_FRONTALPHA=nan\n"
              "LOCAL_BACKCOLOR=srgb 1 2, 3\n"
              "LOCAL_FRONTCOLOR=srgb 0 0 0 inf\n");
    SettingsStore store(path);
    const ConfigManager config(store);
    EXPECT_EQ(config.type(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(config.mouseSizeValue(), 120);
    EXPECT_EQ(config.mouseZoomValue(), 50);
    EXPECT_EQ(config.mouseSpeedValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(config.timeValue(), 12);
    EXPECT_EQ(config.backAlpha(), 0.2);
    EXPECT_TRUE(std::isnan(config.frontAlpha()));
    EXPECT_EQ(config.backColor(), std::nullopt) << "not the default";
    EXPECT_EQ(config.frontColor(), std::nullopt);
    EXPECT_EQ(log.lines, (std::vector<std::string>{
                             "settings: LOCAL_MOUSEROOMVALUE=large is not a number; using the default",
                             "settings: LOCAL_BACKALPHA=half is not a number; using the default"}));
}

TEST_F(SettingsTest, ADamagedFileGivesTheDefaultsForWhatIsMissingAndKeepsTheKeysOfOthers) {
    writeFile("[General]\nLOCAL_MOUSETYPE=2\nLOCAL_MOUSESIZ\nSYSTEM_LANGUAGEINDEX=3\n\n"
              "[Other]\nkey=value\n[Oth");
    SettingsStore store(path);
    ConfigManager config(store);
    EXPECT_EQ(config.type(), 2U);
    EXPECT_EQ(config.mouseSizeValue(), 50);
    EXPECT_EQ(log.lines.size(), 1U) << "says that the file is damaged";
    config.saveUserDefault();
    EXPECT_TRUE(fileContent().contains("SYSTEM_LANGUAGEINDEX=3"));
    EXPECT_TRUE(fileContent().contains("[Other]\nkey=value"));
}

} // namespace
} // namespace companion
