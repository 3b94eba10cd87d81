#include "settings_ui/EffectPreview.h"
#include "settings_ui/SettingView.h"
#include "support/OwnMemory.h"
#include "support/SettingsFixture.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

namespace companion {
namespace {

class SettingWindowTest : public SettingsFixture {
protected:
    void click(const char *name) { QTest::mouseClick(&find(name), Qt::LeftButton); }
    void key(const char *name, Qt::Key which) { QTest::keyClick(&find(name), which); }
    void choose(int language) {
        auto &list = find<QComboBox>("languageBtn");
        list.showPopup();
        list.view()->setCurrentIndex(list.model()->index(language, 0));
        QTest::keyClick(list.view(), Qt::Key_Return);
    }
    std::string modesOn() const {
        std::string on;
        for (const char *name : {"modeNormalBtn", "modePointBtn", "modeLaserBtn", "modeZoomBtn"})
            on += find<QAbstractButton>(name).isChecked() ? '1' : '0';
        return on;
    }
    std::string focused() const {
        const QWidget *widget = controller->window()->focusWidget();
        return widget == nullptr ? "" : widget->objectName().toStdString();
    }
    std::string picture() const { return find<EffectPreview>("previewImageView").imageName().toStdString(); }
};

TEST_F(SettingWindowTest, ThePresentersModeKeyMovesButtonAndPictureAndSavesNothing) {
    Lifetime effectController;
    center.addObserver(effectController, LOCAL_MOUSETYPESWITCH,
                       [this](const Notification &) { config.setType(config.type() + 1); });
    open();
    const QByteArray before = fileContent();
    const std::pair<const char *, const char *> expected[] = {
        {"0100", "pre_jujiaodeng"}, {"0010", "pre_jiguangbi"}, {"0001", "pre_fangdajing"}};
    for (const auto &[modes, name] : expected) {
        center.post(LOCAL_MOUSETYPESWITCH);
        EXPECT_EQ(modesOn(), modes);
        EXPECT_EQ(picture(), name);
    }
    EXPECT_EQ(fileContent(), before);
}

TEST_F(SettingWindowTest, ValuesThatNoControlCanShowAreShownAsTheNearestAndSavedUnchanged) {
    struct Case {
        std::int64_t size;
        double alpha;
        const char *alphaOnDisk;
        int sizeShown, alphaShown;
    };
    // In single precision 35 % lies below its own number, and is shown as 34; 36 % does not.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const Case cases[] = {{0, -1, "-1", 50, 0},
                          {199, double(0.35F), "0.3499999940395355", 199, 34},
                          {199, double(0.36F), "0.36000001430511475", 199, 36},
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

TEST_F(SettingWindowTest, TheKeyboardStartsAtTheModeThatIsOnAndTheModesAreOneGroup) {
    config.setType(kEffectLaser);
    open();
    const struct {
        Qt::Key key;
        const char *focused;
        const char *on;
    } steps[] = {{Qt::Key_Right, "modeZoomBtn", "0010"},   {Qt::Key_Up, "modePointBtn", "0010"},
                 {Qt::Key_Return, "modePointBtn", "0100"}, {Qt::Key_Up, "modePointBtn", "0100"},
                 {Qt::Key_Left, "modeNormalBtn", "0100"},  {Qt::Key_Space, "modeNormalBtn", "1000"},
                 {Qt::Key_Tab, "mouseSizeSwitch", "1000"}, {Qt::Key_Backtab, "modeNormalBtn", "1000"},
                 {Qt::Key_Backtab, "languageBtn", "1000"}};
    EXPECT_EQ(focused(), "modeLaserBtn");
    for (const auto &[pressed, name, on] : steps) {
        QTest::keyClick(controller->window()->focusWidget(), pressed);
        EXPECT_EQ(focused(), name);
        EXPECT_EQ(modesOn(), on);
    }
    config.setType(7);
    reopen();
    EXPECT_EQ(focused(), "modeNormalBtn");
    EXPECT_EQ(modesOn(), "0000");
}

TEST_F(SettingWindowTest, ASliderAndItsNumberAreOneControlWithItsUnit) {
    open();
    const struct {
        const char *slider, *number;
        const char *typed;
        const char *shown;
        const char *key;
        const char *stored;
    } cases[] = {{"mouseSizeSwitch", "mouseSizeNumber", "77", "77 pt", "LOCAL_MOUSESIZEVALUE", "77"},
                 {"mouseZoomSwitch", "mouseZoomNumber", "3", "3×", "LOCAL_MOUSEROOMVALUE", "30"},
                 {"mouseZoomSwitch", "mouseZoomNumber", "19", "1× +9", "LOCAL_MOUSEROOMVALUE", "19"},
                 {"mouseZoomSwitch", "mouseZoomNumber", "2x+5", "2× +5", "LOCAL_MOUSEROOMVALUE", "25"},
                 {"mouseZoomSwitch", "mouseZoomNumber", "10", "10×", "LOCAL_MOUSEROOMVALUE", "100"},
                 {"backAlphaSwitch", "backAlphaNumber", "50", "50 %", "LOCAL_BACKALPHA", "0.5"}};
    for (const auto &[slider, number, typed, shown, storedAs, stored] : cases) {
        find(slider).setFocus();
        for (const char *c = typed; *c != 0; ++c)
            QTest::keyClick(controller->window()->focusWidget(), *c);
        EXPECT_EQ(focused(), number);
        QTest::keyClick(controller->window()->focusWidget(), Qt::Key_Return);
        EXPECT_EQ(focused(), slider);
        EXPECT_EQ(find<QSpinBox>(number).text().toStdString(), shown);
        EXPECT_EQ(onDisk(storedAs), stored);
    }
}

TEST_F(SettingWindowTest, TheWheelChangesOnlyWhatHasTheKeyboardAndEscapeClosesFromEverywhere) {
    open();
    const auto wheel = [&](QWidget &over) {
        const QPointF at = QRectF(over.rect()).center();
        QWheelEvent event(at, over.mapToGlobal(at), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&over, &event);
    };
    const QByteArray before = fileContent();
    const char *const controls[] = {"languageBtn",     "mouseSizeSwitch", "mouseSizeNumber",
                                    "mouseZoomSwitch", "mouseZoomNumber", "timeStepper",
                                    "backAlphaSwitch", "frontAlphaNumber"};
    for (const char *name : controls)
        wheel(find(name));
    EXPECT_EQ(fileContent(), before);
    find("mouseSizeSwitch").setFocus();
    wheel(find("mouseSizeSwitch"));
    EXPECT_NE(fileContent(), before);
    for (const char *name : controls) {
        for (const QKeyCombination close : {QKeyCombination(Qt::Key_Escape), Qt::CTRL | Qt::Key_W}) {
            find(name).setFocus();
            QTest::keyClick(&find(name), close.key(), close.keyboardModifiers());
            EXPECT_FALSE(controller->isPresented()) << name;
            open();
        }
    }
}

TEST_F(SettingWindowTest, ThePanelDoesNotFlashBeforeTheFirstPollAndGivesTheKeyboardBack) {
    const auto asksForReceiver = [this] { return find("noneDeciveTitleTextField").isVisible(); };
    controller->show();
    settle();
    queue.advance(std::chrono::milliseconds(199));
    EXPECT_FALSE(asksForReceiver());
    center.post(LOCAL_DEVICECONNECT);
    queue.advance(std::chrono::milliseconds(1000));
    EXPECT_FALSE(asksForReceiver());

    controller->dismiss();
    controller->show();
    queue.advance(std::chrono::milliseconds(200));
    EXPECT_TRUE(asksForReceiver());
    EXPECT_TRUE(find("languageBtn").isVisible());
    center.post(LOCAL_DEVICECONNECT);
    EXPECT_FALSE(asksForReceiver());
    EXPECT_EQ(focused(), "modeNormalBtn");
}

TEST_F(SettingWindowTest, ASecondWindowStandsAsideAndAColourDialogSaysWhichColourItIs) {
    store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QStringLiteral("1"));
    open();
    const auto second = makeController();
    second->show();
    const QPoint aside = second->window()->pos() - controller->window()->pos();
    EXPECT_GT(std::min(aside.x(), aside.y()), 0);
    second->dismiss();
    click("frontColorWell");
    const auto *dialog = controller->window()->findChild<QColorDialog *>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle().toStdString(), "Foreground color");
}

TEST_F(SettingWindowTest, TheTimersButtonRestsForHalfASecondAndKeepsTheKeyboard) {
    using namespace std::chrono_literals;
    open();
    auto &button = find<QAbstractButton>("timeSetBtn");
    button.setFocus();
    key("timeSetBtn", Qt::Key_Space);
    EXPECT_FALSE(button.hasFocus());
    click("timeSetBtn");
    queue.advance(499ms);
    EXPECT_FALSE(button.isEnabled());
    queue.advance(1ms);
    EXPECT_TRUE(button.isEnabled());
    EXPECT_TRUE(button.hasFocus());
    EXPECT_EQ(sent, std::vector{30}) << "once";
    auto &stepper = find<QSpinBox>("timeStepper");
    stepper.setValue(9999); // A report has one byte for the minutes.
    EXPECT_EQ(find<QLabel>("timeCountTextField").text(), QStringLiteral("255"));
    stepper.setValue(-5);
    EXPECT_EQ(find<QLabel>("timeCountTextField").text(), QStringLiteral("1"));
}

TEST_F(SettingWindowTest, ALanguageRelabelsEveryCaptionAtOnce) {
    open();
    for (int language = 11; language >= 0; --language) {
        choose(language);
        QStringList shown;
        for (const QWidget *widget : controller->window()->findChildren<QWidget *>())
            if (qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget))
                shown << widget->property("text").toString();
        shown.removeAll(QString());
        shown.removeAll(QStringLiteral("30"));
        shown.removeAll(QStringLiteral("min"));
        QStringList texts = LanguageSetting::loadStringsDicWithArrayIndex().values();
        texts << LanguageSetting::getText(QStringLiteral("透明度")).value(); // For both colours.
        shown.sort();
        texts.sort();
        EXPECT_EQ(shown.join(u'|').toStdString(), texts.join(u'|').toStdString());
    }
}

TEST_F(SettingWindowTest, AStoredLanguageThatIsNoneIsOneLineAndTheUserCanChooseOne) {
    for (const char *index : {"99", "-1", "4294967297"}) {
        store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QLatin1String(index));
        reopen();
        EXPECT_EQ(find<QComboBox>("languageBtn").currentIndex(), -1);
        EXPECT_EQ(find<QLabel>("languageTextField").text(), QStringLiteral("language"));
        EXPECT_EQ(std::count_if(log.lines.begin(), log.lines.end(),
                                [&](const std::string &line) { return line.find(index) != line.npos; }),
                  1);
        choose(1);
        EXPECT_EQ(find<QLabel>("languageTextField").text(), LanguageSetting::getText(QStringLiteral("语言")));
    }
}

TEST_F(SettingWindowTest, TheWindowMayBeDismissedOrDestroyedFromWhereverItIsBeingCalled) {
    EXPECT_EQ(controller->nativeWindow(), 0U);
    controller->dismiss();
    EXPECT_TRUE(log.lines.empty()) << "nothing to close";

    open();
    find<QComboBox>("languageBtn").showPopup();
    QTest::keyClick(find<QComboBox>("languageBtn").view(), Qt::Key_Escape);
    EXPECT_TRUE(controller->isPresented()) << "Escape closes only the list";
    click("backColorWell");
    click("frontColorWell");
    const auto dialogs = controller->window()->findChildren<QColorDialog *>();
    EXPECT_EQ(std::count_if(dialogs.begin(), dialogs.end(), [](auto *each) { return each->isVisible(); }), 1);
    key("mouseSizeNumber", Qt::Key_Escape);
    EXPECT_EQ(closedByUser, 1);
    EXPECT_EQ(log.count("窗口关闭"), 3U) << "the window's and one for each dialog";
    log.lines.clear();
    EXPECT_FALSE(controller->isPresented());

    open();
    center.post(NSWindowWillCloseNotification); // Some other window.
    EXPECT_EQ(log.count("窗口关闭"), 1U);
    EXPECT_TRUE(controller->isPresented());

    Lifetime somebody;
    center.addObserver(somebody, NSWindowWillCloseNotification,
                       [this](const Notification &) { controller->dismiss(); });
    center.addObserver(somebody, LOCAL_MOUSEEFFECTON, [this](const Notification &) { controller.reset(); });
    controller->window()->close();
    settle();
    EXPECT_EQ(closedByUser, 2);
    EXPECT_EQ(log.count("窗口关闭"), 2U);

    controller = makeController();
    open();
    center.post(LOCAL_MOUSEEFFECTON);
    EXPECT_EQ(controller, nullptr);
    settle();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 0);
    EXPECT_EQ(center.observerCount(), 2U) << "the two of this test";
}

TEST_F(SettingWindowTest, ThePanelInTheOverlayRefreshesWithItsModesAndLetsTheMouseThroughAtItsEnd) {
    std::vector<std::string> events;
    Lifetime effectController;
    center.addObserver(effectController, NOTIFY_REFRESHPEN,
                       [&](const Notification &) { events.emplace_back("refresh"); });
    QWidget overlay;
    SettingView panel({config, center, [&] { events.emplace_back("ignore mouse"); }}, &overlay);
    overlay.show();
    panel.setViewData();
    QTest::mouseClick(panel.findChild<QWidget *>(QStringLiteral("modePointBtn")), Qt::LeftButton);
    EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), "1");
    panel.findChild<QSpinBox *>(QStringLiteral("mouseSizeNumber"))->setValue(77);
    EXPECT_EQ(onDisk("LOCAL_MOUSESIZEVALUE"), "77");
    QTest::mouseClick(panel.findChild<QWidget *>(QStringLiteral("closeViewBtn")), Qt::LeftButton);
    EXPECT_EQ(panel.parentWidget(), nullptr);
    EXPECT_EQ(events, (std::vector<std::string>{"refresh", "refresh", "ignore mouse", "refresh"}));
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
