// The settings window as a screen reader meets it: what the running program says on the accessibility bus.
#include "e2e/SessionBus.h"
#include "support/rig/CompanionProcess.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

namespace companion::rig {
namespace {

class AccessibilityTest : public testing::Test {
protected:
    AccessibilityTest() {
        waitUntil("the settings on the accessibility bus", [this] {
            m_reader.emplace(Command{COMPANION_ACCESSIBLE_TREE, "presenter-companion", "--events"},
                             m_bus.environment());
            waitUntil("the reader", [this] { return heard("\nlistening\n") || !m_reader->running(); });
            return heard("slider");
        });
    }

    bool heard(const std::string &text) const { return m_reader->out().find(text) != std::string::npos; }

    // A node as the reader prints it, with what lies directly below it; empty if there is none.
    std::vector<std::string> node(const std::string &text) const {
        std::istringstream lines(m_reader->out());
        std::vector<std::string> found;
        std::size_t depth = 0;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
            const std::string here = line.substr(indent);
            if (found.empty() && here == text) {
                found.push_back(here);
                depth = indent;
            } else if (!found.empty() && indent <= depth) {
                break;
            } else if (!found.empty() && indent == depth + 2) {
                found.push_back(here);
            }
        }
        return found;
    }

    static Environment withReader(Environment environment) {
        environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"; // As if the desktop's switch were on.
        return environment;
    }

    const Desktop m_desktop{{.compositor = false}};
    const SessionBus m_bus{m_desktop};
    CompanionProcess m_companion{
        m_desktop,
        {.settings = {{"SYSTEM_LANGUAGEINDEX", "1"}, {"LOCAL_MOUSETYPE", "2"}, {"CENTRECLICK", "off"}},
         .arguments = {"--settings"},
         .environment = withReader(m_bus.environment())}};
    std::optional<ChildProcess> m_reader;
};

TEST_F(AccessibilityTest, EachControlIsHeardOnceWithItsNameAndValueAndTheMessageWhenItComes) {
    EXPECT_EQ(node(R"(panel "Modus")"),
              (std::vector<std::string>{R"(panel "Modus")", R"(label "Modus")", R"(radio button "Normal")",
                                        R"(radio button "Spotlight")",
                                        R"(radio button "Digital Pointer" [checked] [focused])",
                                        R"(radio button "Magnifier")"}));
    for (const char *each : {
             R"(dialog "Presenter setting")",
             R"(combo box "English" of "language")",
             R"(graphic "Preview effect" (Digital Pointer))",
             R"(slider "Spot size" (pt) = 50 (50 to 250))",
             R"(slider "Magnification" (×) = 5 (0 to 10))",
             R"(slider "Background color, Transparent" (%) = 20 (0 to 100))",
             R"(slider "Foreground color, Transparent" (%) = 80 (0 to 100))",
             R"(push button "Background color" (#000000))",
             R"(push button "Foreground color" (#ff0000))",
             R"(spin box "Time set min" = 30 (1 to 255))",
         })
        EXPECT_FALSE(node(each).empty()) << each;
    for (const char *numberBesideSlider :
         {R"(spin box "Spot size)", R"(spin box "Mag)", R"(spin box "Back)", R"(spin box "Fore)"})
        EXPECT_FALSE(heard(numberBesideSlider)) << numberBesideSlider;

    const std::string message = "StateChanged:showing 1 notification \"Please insert the dongle\"\n";
    EXPECT_FALSE(heard(message));
    m_companion.receiver("unplug");
    waitUntil("the message", [&] { return heard(message); });
    if (HasFailure())
        ADD_FAILURE() << m_reader->out();
}

} // namespace
} // namespace companion::rig
