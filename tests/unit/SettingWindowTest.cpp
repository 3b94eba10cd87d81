#include "settings_ui/ColorWell.h"
#include "settings_ui/PictureView.h"
#include "settings_ui/PlainView.h"
#include "support/OwnMemory.h"
#include "support/SettingsFixture.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <set>

namespace companion {
namespace {

class SettingWindowTest : public SettingsFixture {
protected:
    void click(const char *name) { QTest::mouseClick(&find(name), Qt::LeftButton); }
    void key(const char *name, Qt::Key which) { QTest::keyClick(&find(name), which); }
    void typeNumber(const char *name, const char *digits) {
        auto &number = find<QSpinBox>(name);
        number.selectAll();
        QTest::keyClicks(&number, QLatin1String(digits));
    }

    std::string modesOn() const {
        std::string on;
        for (const char *name : {"modeNormalBtn", "modePointBtn", "modeLaserBtn", "modeZoomBtn"})
            on += find<QAbstractButton>(name).isChecked() ? '1' : '0';
        return on;
    }
    std::string picture() const { return find<PictureView>("previewImageView").imageName().toStdString(); }
    std::string text(const char *label) const { return find<QLabel>(label).text().toStdString(); }

    void chooseLanguage(int index) {
        auto &button = find<QComboBox>("languageBtn");
        button.showPopup();
        button.view()->setCurrentIndex(button.model()->index(index, 0));
        QTest::keyClick(button.view(), Qt::Key_Return);
    }
};

TEST_F(SettingWindowTest, SomePercentagesReadBackOneLowerAndTheOthersAsTheyWere) {
    const std::set<int> oneLower{1,  2,  3,  4,  6,  8,  11, 12, 13, 16, 19, 21, 22, 24, 26, 29, 32,
                                 35, 38, 39, 41, 42, 44, 45, 47, 48, 51, 52, 53, 57, 58, 59, 63, 64,
                                 65, 69, 70, 71, 76, 77, 78, 82, 83, 84, 88, 89, 90, 94, 95, 96};
    open();
    for (int percent = 0; percent <= 100; ++percent) {
        for (const char *name : {"backAlphaNumber", "frontAlphaNumber"})
            typeNumber(name, QByteArray::number(percent).constData());
        config.loadUserDefault(); // As after a new start.
        reopen();
        const int expected = percent - (oneLower.contains(percent) ? 1 : 0);
        EXPECT_EQ(find<QSpinBox>("backAlphaNumber").value(), expected) << percent;
        EXPECT_EQ(find<QSpinBox>("frontAlphaNumber").value(), expected) << percent;
    }
}

TEST_F(SettingWindowTest, AModeButtonThatIsOnStaysOnWhenPressedAndSavesAgain) {
    open();
    click("modeZoomBtn");
    EXPECT_EQ(modesOn(), "0001");
    config.setMouseSizeValue(99); // Set by somebody else, not saved yet.
    key("modeZoomBtn", Qt::Key_Space);
    EXPECT_EQ(modesOn(), "0001");
    EXPECT_EQ(onDisk("LOCAL_MOUSESIZEVALUE"), "99");
}

TEST_F(SettingWindowTest, ThePresentersModeKeyMovesButtonAndPictureAndSavesNothing) {
    Lifetime effectController;
    center.addObserver(effectController, LOCAL_MOUSETYPESWITCH, [this](const Notification &) {
        config.setType(config.type() + 1);
        config.setMouseSizeValue(150);
    });
    open();
    const QByteArray before = fileContent();
    for (const char *expected : {"pre_jujiaodeng", "pre_jiguangbi", "pre_fangdajing"}) {
        center.post(LOCAL_MOUSETYPESWITCH);
        EXPECT_EQ(picture(), expected);
    }
    EXPECT_EQ(modesOn(), "0001");
    EXPECT_EQ(find<QSpinBox>("mouseSizeNumber").value(), 50) << "shows the old size until opened again";
    EXPECT_EQ(fileContent(), before);
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(modesOn(), "0000") << "4 is no effect";
    EXPECT_EQ(picture(), "pre_fangdajing") << "stays as it was";

    config.setType(1);
    reopen();
    EXPECT_EQ(find<QSpinBox>("mouseSizeNumber").value(), 150);
}

TEST_F(SettingWindowTest, ValuesThatNoControlCanShowAreShownAsTheNearestAndSavedUnchanged) {
    struct Case {
        std::int64_t size;
        double alpha;
        const char *alphaOnDisk;
        int sizeShown, alphaShown;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const Case cases[] = {{0, -1, "-1", 50, 0},
                          {100000, 2, "2", 250, 100},
                          {std::numeric_limits<std::int64_t>::max(), infinite, "inf", 250, 100},
                          {std::numeric_limits<std::int64_t>::min(), nan, "nan", 50, 0}};
    for (const Case &c : cases) {
        config.setType(7);
        config.setMouseSizeValue(c.size);
        config.setMouseZoomValue(c.size);
        config.setBackAlpha(c.alpha);
        config.setFrontAlpha(c.alpha);
        config.setBackColor(std::nullopt);
        config.setFrontColor(Color{7, -3, 0.5, 1});
        reopen();
        EXPECT_EQ(modesOn(), "0000");
        EXPECT_EQ(picture(), "");
        EXPECT_EQ(find<QSpinBox>("mouseSizeNumber").value(), c.sizeShown);
        EXPECT_EQ(find<QSpinBox>("backAlphaNumber").value(), c.alphaShown);
        controller->window()->grab();
        click("mouseZoomNumber"); // Focus comes and goes without a change.
        click("mouseSizeNumber");
        EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), "7");
        EXPECT_EQ(onDisk("LOCAL_MOUSESIZEVALUE"), std::to_string(c.size));
        EXPECT_EQ(onDisk("LOCAL_MOUSEROOMVALUE"), std::to_string(c.size));
        EXPECT_EQ(onDisk("LOCAL_BACKALPHA"), c.alphaOnDisk);
        EXPECT_EQ(onDisk("LOCAL_BACKCOLOR"), "");
        EXPECT_EQ(onDisk("LOCAL_FRONTCOLOR"), "srgb 7 -3 0.5 1");
    }
}

TEST_F(SettingWindowTest, AColourIsTakenAtItsOkAndOneDialogIsOpenAtATime) {
    open();
    for (const auto &[name, key] :
         {std::pair{"backColorWell", "LOCAL_BACKCOLOR"}, std::pair{"frontColorWell", "LOCAL_FRONTCOLOR"}}) {
        const std::string before = onDisk(key);
        click(name);
        auto *dialog = controller->window()->findChild<QColorDialog *>();
        ASSERT_NE(dialog, nullptr);
        EXPECT_FALSE(dialog->testOption(QColorDialog::ShowAlphaChannel));
        dialog->setCurrentColor(QColor(51, 102, 255));
        EXPECT_EQ(onDisk(key), before);
        dialog->accept();
        EXPECT_EQ(onDisk(key), "srgb 0.2 0.4 1 1");
        EXPECT_FALSE(find<ColorWell>(name).isActive());
        EXPECT_EQ(log.count("窗口关闭"), 1U) << "the dialog, too, is a window that closes";
        log.lines.clear();
        settle();
    }
    click("backColorWell");
    click("frontColorWell");
    EXPECT_FALSE(find<ColorWell>("backColorWell").isActive());
    EXPECT_EQ(find<PlainView>("frontColorPreviewView").background(), QColor(Qt::red)) << "fixed";
    controller->dismiss(); // With a dialog open.
    settle();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 0);
}

TEST_F(SettingWindowTest, TheTimerIsHandedOnAsItIsAndTheButtonRestsForHalfASecond) {
    using namespace std::chrono_literals;
    open();
    const std::string stored = onDisk("LOCAL_TIMEVALUE");
    auto &button = find<QAbstractButton>("timeSetBtn");
    std::vector<std::int32_t> expected;
    for (const int minutes : {0, 45, 256, 300}) {
        typeNumber("timeStepper", QByteArray::number(minutes).constData());
        click("timeSetBtn");
        click("timeSetBtn");
        expected.push_back(minutes);
        EXPECT_EQ(sent, expected) << "once";
        queue.advance(499ms);
        EXPECT_FALSE(button.isEnabled());
        queue.advance(1ms);
        EXPECT_TRUE(button.isEnabled());
    }
    EXPECT_EQ(onDisk("LOCAL_TIMEVALUE"), stored);

    key("timeStepper", Qt::Key_Up);
    EXPECT_EQ(text("timeCountTextField"), "300") << "the end of the range";
    auto &stepper = find("timeStepper"); // Less in the left half of it, more in the right one.
    for (const auto &[x, shown] : {std::pair{10, "299"}, {10, "298"}, {stepper.width() - 10, "299"}}) {
        QTest::mouseClick(&stepper, Qt::LeftButton, {}, QPoint(x, stepper.height() / 2));
        EXPECT_EQ(text("timeCountTextField"), shown);
    }
    button.setFocus();
    key("timeSetBtn", Qt::Key_Space);
    EXPECT_FALSE(button.hasFocus());
    queue.advance(500ms);
    EXPECT_TRUE(button.hasFocus()) << "the keyboard stays where it was";
}

TEST_F(SettingWindowTest, ALanguageRelabelsAllEighteenCaptionsAtOnceAndTheFirstChoiceIsGerman) {
    // Each control before the key of its text.
    const QStringList captions = QStringLiteral(R"(
        mainTitleTextField 翻页笔设置  noneDeciveTitleTextField 请插入设备  languageTextField 语言
        penModeTitleTextField 模式  modeNormalBtn 正常  modePointBtn 聚光  modeLaserBtn 数码激光
        modeZoomBtn 放大镜  previewTitleTextField 效果预览  backColorTitleTextField 背景颜色
        frontColorTitleTextField 前景颜色  backAlphaTitleTextField 透明度  frontAlphaTitleTextField 透明度
        mouseSizeTitleTextField 斑点大小  mouseSpeedTitleTextField 鼠标速度
        mouseZoomLevelTitleTextField 放大倍数  timeTitleTextField 时间设置  timeSetBtn 设置)")
                                     .simplified()
                                     .split(u' ');
    ASSERT_EQ(captions.size(), 2 * 18);
    const auto expectTexts = [&] {
        for (qsizetype i = 0; i < captions.size(); i += 2)
            EXPECT_EQ(find(captions[i].toLatin1().constData()).property("text").toString(),
                      LanguageSetting::getText(captions[i + 1]))
                << captions[i].toStdString();
        EXPECT_EQ(find("frontAlphaNumber").accessibleName(),
                  find("frontColorTitleTextField").property("text").toString() + QStringLiteral(", ") +
                      find("frontAlphaTitleTextField").property("text").toString());
    };
    open();
    expectTexts();
    for (const char *expected : {"0", "10"}) { // The same item twice.
        chooseLanguage(10);
        EXPECT_EQ(onDisk("SYSTEM_LANGUAGEINDEX"), expected);
        EXPECT_EQ(find<QComboBox>("languageBtn").currentText(), QStringLiteral("Spanish"));
        expectTexts();
    }
    for (int language = 11; language >= 0; --language) {
        chooseLanguage(language);
        EXPECT_EQ(onDisk("SYSTEM_LANGUAGEINDEX"), std::to_string(language));
        expectTexts();
    }
    store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QStringLiteral("7"));
    reopen();
    auto &button = find<QComboBox>("languageBtn");
    EXPECT_EQ(button.currentIndex(), 7);
    button.showPopup();
    settle();
    EXPECT_EQ(button.view()->verticalScrollBar()->maximum(), 0) << "all of them without scrolling";
    const QRect last = button.view()->visualRect(button.model()->index(11, 0));
    EXPECT_TRUE(button.view()->viewport()->rect().contains(last)) << last.bottom();
    button.hidePopup();
}

TEST_F(SettingWindowTest, AStoredLanguageThatIsNoneKeepsTheWindowFromOpening) {
    store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QStringLiteral("12"));
    EXPECT_THROW(controller->show(), std::out_of_range);
    EXPECT_FALSE(controller->isPresented());
    EXPECT_EQ(center.observerCount(), 0U);
    EXPECT_EQ(QApplication::allWidgets().size(), 0);
}

TEST_F(SettingWindowTest, TheWindowMayBeDismissedOrDestroyedFromWhereverItIsBeingCalled) {
    EXPECT_EQ(controller->nativeWindow(), 0U);
    controller->dismiss();
    EXPECT_TRUE(log.lines.empty()) << "nothing to close";

    open();
    find<QComboBox>("languageBtn").showPopup();
    QTest::keyClick(find<QComboBox>("languageBtn").view(), Qt::Key_Escape);
    EXPECT_TRUE(controller->isPresented()) << "Escape closes only the list";
    key("mouseSizeNumber", Qt::Key_Escape);
    EXPECT_EQ(closedByUser, 1);
    EXPECT_EQ(log.count("窗口关闭"), 1U);
    EXPECT_FALSE(controller->isPresented());

    open();
    center.post(NSWindowWillCloseNotification); // Some other window.
    EXPECT_EQ(log.count("窗口关闭"), 2U);
    EXPECT_TRUE(controller->isPresented());

    Lifetime somebody;
    center.addObserver(somebody, NSWindowWillCloseNotification,
                       [this](const Notification &) { controller->dismiss(); });
    center.addObserver(somebody, LOCAL_MOUSEEFFECTON, [this](const Notification &) { controller.reset(); });
    controller->window()->close();
    settle();
    EXPECT_EQ(closedByUser, 2);
    EXPECT_EQ(log.count("窗口关闭"), 3U);

    controller = makeController();
    open();
    center.post(LOCAL_MOUSEEFFECTON);
    EXPECT_EQ(controller, nullptr);
    settle();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 0);
    EXPECT_EQ(center.observerCount(), 2U) << "the two of this test";
}

TEST_F(SettingWindowTest, FiveHundredOpeningsLeaveNothingBehind) {
    [[maybe_unused]] long warm = 0;
    for (int i = 0; i < 500; ++i) {
        config.setType(static_cast<std::uint64_t>(i % 4));
        open();
        EXPECT_EQ(center.observerCount(), 4U);
        click("timeSetBtn");
        controller->dismiss();
        settle();
        queue.advance(std::chrono::milliseconds(500));
        log.lines.clear();
        if (i == 5)
            warm = ownKilobytes("RssAnon");
    }
#ifndef __SANITIZE_ADDRESS__ // It keeps what was freed.
    EXPECT_LE(ownKilobytes("RssAnon") - warm, 4096);
#endif
    EXPECT_EQ(center.observerCount(), 0U);
    EXPECT_EQ(QApplication::allWidgets().size(), 0);
    EXPECT_EQ(queue.pending(), 0U);
}

} // namespace
} // namespace companion
