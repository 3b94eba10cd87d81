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
        return dynamic_cast<Widget &>(*panel->findChild<QWidget *>(QLatin1String(name)));
    }
    void click(const char *name) { QTest::mouseClick(&inPanel(name), Qt::LeftButton); }
};

TEST_F(SettingPanelTest, FillingAndEveryModeButtonSaveAndRefreshOnce) {
    config.setType(9);
    panel->setViewData();
    EXPECT_EQ(events.size(), 1U);
    EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), "9") << "no effect, saved back unchanged";
    for (const auto &[name, type] : {std::pair{"modePointBtn", "1"}, std::pair{"modePointBtn", "1"},
                                     std::pair{"modeZoomBtn", "3"}, std::pair{"modeNormalBtn", "0"}}) {
        events.clear();
        click(name);
        EXPECT_EQ(events.size(), 1U);
        EXPECT_EQ(onDisk("LOCAL_MOUSETYPE"), type);
        EXPECT_TRUE(inPanel<QAbstractButton>(name).isChecked());
    }
}

TEST_F(SettingPanelTest, ValuesAndColoursSaveAndRefreshNothingAndTheWellStaysActive) {
    panel->setViewData();
    events.clear();
    inPanel<QSpinBox>("mouseSizeNumber").setValue(77);
    inPanel<QSpinBox>("backAlphaNumber").setValue(35);
    click("frontColorWell");
    auto *dialog = overlay.findChild<QColorDialog *>();
    ASSERT_NE(dialog, nullptr);
    dialog->setCurrentColor(QColor(0, 255, 0));
    EXPECT_EQ(onDisk("LOCAL_FRONTCOLOR"), "srgb 0 1 0 1");
    dialog->setCurrentColor(QColor(0, 0, 255));
    EXPECT_EQ(onDisk("LOCAL_FRONTCOLOR"), "srgb 0 0 1 1");
    EXPECT_TRUE(inPanel<ColorWell>("frontColorWell").isActive());
    EXPECT_EQ(onDisk("LOCAL_MOUSESIZEVALUE"), "77");
    EXPECT_EQ(onDisk("LOCAL_BACKALPHA"), "0.3499999940395355");
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
