#include "settings_ui/ColorWell.h"
#include "settings_ui/SettingView.h"
#include "support/SettingsFixture.h"

#include <QAbstractButton>
#include <QColorDialog>
#include <QSpinBox>
#include <QTest>

namespace companion {
namespace {

class SettingPanelTest : public SettingsFixture {
protected:
    std::vector<std::string> events; // Refreshes, and the overlay letting the mouse through again.
    QWidget overlay;
    Lifetime effectController;
    std::unique_ptr<SettingView> panel;

    void SetUp() override {
        center.addObserver(effectController, NOTIFY_REFRESHPEN,
                           [this](const Notification &) { events.emplace_back("refresh"); });
        panel = std::make_unique<SettingView>(
            SettingView::Needs{config, center, [this] { events.emplace_back("ignore mouse"); }}, &overlay);
        overlay.show();
    }
    template <class Widget = QWidget>
    Widget &inPanel(const char *name) const {
        return *panel->findChild<Widget *>(QLatin1String(name));
    }
    void click(const char *name) { QTest::mouseClick(&inPanel(name), Qt::LeftButton); }
};

TEST_F(SettingPanelTest, ModesSaveAndRefreshOnceAndColoursOnlySaveWhileTheyAreBeingChosen) {
    config.setType(9);
    panel->setViewData();
    EXPECT_EQ(events.size(), 1U);
    EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), "9") << "no effect, saved back unchanged";
    for (int presses = 1; presses <= 2; ++presses) {
        events.clear();
        click("modePointBtn");
        EXPECT_EQ(events.size(), 1U);
        EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), "1");
        EXPECT_TRUE(inPanel<QAbstractButton>("modePointBtn").isChecked());
    }
    events.clear();
    inPanel<QSpinBox>("mouseSizeNumber").setValue(77);
    click("frontColorWell");
    auto *dialog = overlay.findChild<QColorDialog *>();
    ASSERT_NE(dialog, nullptr);
    dialog->setCurrentColor(QColor(0, 0, 255));
    EXPECT_EQ(onDisk("LOCAL_FRONTCOLOR"), "srgb 0 0 1 1");
    EXPECT_TRUE(inPanel<ColorWell>("frontColorWell").isActive()) << "takes further choices";
    EXPECT_EQ(onDisk("LOCAL_MOUSESIZEVALUE"), "77");
    EXPECT_TRUE(events.empty());
}

TEST_F(SettingPanelTest, ClosingLetsTheMouseThroughTakesThePanelOutAndRefreshes) {
    panel->setViewData();
    events.clear();
    const QByteArray before = fileContent();
    click("closeViewBtn");
    EXPECT_EQ(events, (std::vector<std::string>{"ignore mouse", "refresh"}));
    EXPECT_EQ(panel->parentWidget(), nullptr);
    EXPECT_FALSE(panel->isVisible());
    EXPECT_EQ(log.lines, std::vector<std::string>{"窗口关闭"});
    EXPECT_EQ(fileContent(), before);
}

} // namespace
} // namespace companion
