#include "settings_ui/languages/LanguageSetting.h"
#include "settings/SettingsStore.h"

#include <QCryptographicHash>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace companion {
namespace {

const QString kIndexKey = QStringLiteral("SYSTEM_LANGUAGEINDEX");
const QString kLanguage = QStringLiteral("语言");

class LanguageSettingTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    SettingsStore store{folder.filePath(QStringLiteral("presenter-companion.conf"))};
    LanguageSetting::UseStore use{store};
};

// A language whose texts were changed on purpose gets the sum that the failure tells.
TEST_F(LanguageSettingTest, TheTextsOfEveryLanguageAreThoseThatWereReviewed) {
    const char *const reviewed[] = {"2279f35ac5f5", "3a7b6393a1b7", "3059e54cd8f2", "63751b1cd683",
                                    "2d83208e8be8", "01bd8b4cb071", "c031432135e7", "1bfaea2ad8f8",
                                    "3658bb9b6ca1", "26bc4d0bbe05", "d7bdbb641dbc", "69c90daa31f8"};
    for (int language = 0; language < 12; ++language) {
        store.setValue(kIndexKey, QString::number(language));
        const auto texts = LanguageSetting::loadStringsDicWithArrayIndex();
        EXPECT_EQ(texts.size(), 17);
        QByteArrayList lines;
        for (auto each = texts.begin(); each != texts.end(); ++each)
            lines << (each.key() + u'\t' + each.value() + u'\n').toUtf8();
        std::sort(lines.begin(), lines.end());
        const auto sum = QCryptographicHash::hash(lines.join(), QCryptographicHash::Sha1).toHex().left(12);
        EXPECT_EQ(sum.toStdString(), reviewed[language]) << lines.join().toStdString();
    }
}

TEST_F(LanguageSettingTest, AStoredIndexThatIsNoLanguageFailsTheLookup) {
    for (const char *index : {"12", "-1", "9223372036854775807"}) {
        store.setValue(kIndexKey, QString::fromLatin1(index));
        EXPECT_THROW(LanguageSetting::getText(kLanguage), std::out_of_range) << index;
    }
    store.setValue(kIndexKey, QStringLiteral("Dutch")); // No number: the first language.
    EXPECT_EQ(LanguageSetting::getText(kLanguage), QStringLiteral("Sprache"));
    EXPECT_EQ(LanguageSetting::getText(QStringLiteral("语言 ")), std::nullopt) << "no such key";
}

} // namespace
} // namespace companion
