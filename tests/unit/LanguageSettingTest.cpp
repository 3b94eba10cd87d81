#include "settings_ui/languages/LanguageSetting.h"
#include "settings/SettingsStore.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

namespace companion {
namespace {

const QString kIndexKey = QStringLiteral("SYSTEM_LANGUAGEINDEX");
const QString kDigitalPointer = QStringLiteral("数码激光");

class LanguageSettingTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("presenter-companion.conf"));
    SettingsStore store{path};
    LanguageSetting::UseStore use{store};

    QByteArray fileContent() const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static QString text(const QString &key) {
        return LanguageSetting::getText(key).value_or(QStringLiteral("(none)"));
    }
};

TEST_F(LanguageSettingTest, EveryTextOfEveryLanguageReadsAsInTheReviewedList) {
    QFile list(QStringLiteral(COMPANION_TEST_DATA "/languages.tsv"));
    ASSERT_TRUE(list.open(QIODevice::ReadOnly));
    int texts = 0;
    QSet<QString> keys;
    for (const QString &line : QString::fromUtf8(list.readAll()).split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u'\t'); // Language index, key, text.
        ASSERT_EQ(fields.size(), 3) << line.toStdString();
        store.setValue(kIndexKey, fields[0]);
        EXPECT_EQ(LanguageSetting::getText(fields[1]), fields[2]) << line.toStdString();
        EXPECT_EQ(LanguageSetting::loadStringsDicWithArrayIndex().size(), 17);
        keys.insert(fields[1]);
        ++texts;
    }
    EXPECT_EQ(texts, 12 * 17);
    EXPECT_EQ(keys.size(), 17);
}

TEST_F(LanguageSettingTest, TheFirstChoiceOnAFreshStoreIsGermanWhateverWasChosen) {
    EXPECT_EQ(text(kDigitalPointer), QStringLiteral("Digital Pointer"));
    LanguageSetting::setLanguageWithIndex(10);
    EXPECT_TRUE(fileContent().contains("SYSTEM_LANGUAGEINDEX=0\n")) << "on disk when the call returns";
    EXPECT_EQ(text(QStringLiteral("语言")), QStringLiteral("Sprache"));

    LanguageSetting::setLanguageWithIndex(10);
    EXPECT_TRUE(fileContent().contains("SYSTEM_LANGUAGEINDEX=10\n"));
    EXPECT_EQ(text(QStringLiteral("语言")), QStringLiteral("Lenguaje"));
}

TEST_F(LanguageSettingTest, WhatIsNoKeyHasNoText) {
    for (int language = 0; language < 12; ++language) {
        store.setValue(kIndexKey, QString::number(language));
        for (const char *key : {"Normal", "", "正", "正常 ", "kein Schlüssel"})
            EXPECT_EQ(LanguageSetting::getText(QString::fromUtf8(key)), std::nullopt) << language << key;
    }
}

TEST_F(LanguageSettingTest, AStoredIndexThatIsNoLanguageFailsTheLookupAndSaysWhich) {
    for (const char *index : {"12", "-1", "9223372036854775807"}) {
        store.setValue(kIndexKey, QString::fromLatin1(index));
        try {
            LanguageSetting::getText(kDigitalPointer);
            ADD_FAILURE() << index << " was accepted";
        } catch (const std::out_of_range &failure) {
            EXPECT_EQ(failure.what(), "SYSTEM_LANGUAGEINDEX is " + std::string(index) +
                                          ", which is not in the range 0 to 11");
        }
    }
    LanguageSetting::setLanguageWithIndex(7);
    EXPECT_EQ(text(kDigitalPointer), QStringLiteral("Ukazovátko")) << "and a good index repairs it";
}

TEST_F(LanguageSettingTest, ATextInPlaceOfTheIndexReadsAsGerman) {
    store.setValue(kIndexKey, QStringLiteral("Dutch"));
    EXPECT_EQ(text(QStringLiteral("语言")), QStringLiteral("Sprache"));
}

} // namespace
} // namespace companion
