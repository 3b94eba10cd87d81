#pragma once

#include "core/Geometry.h"
#include "platform/ports/ScreenChoice.h"
#include "platform/wayland/WaylandConnection.h"

#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace companion {

struct WaylandOutput {
    std::uint32_t global;
    WaylandPtr<wl_output> output;
    WaylandPtr<zxdg_output_v1> place;
    std::string name;
    QSize mode;        // Device pixels, as the hardware counts them.
    int transform = 0; // WL_OUTPUT_TRANSFORM_*.
    int factor = 1;    // The whole number that is no smaller than the scale.
    QRect logical;     // On the desktop, points.

    // As the user looks at it.
    QSize pixels() const;
    double scale() const;
    bool ready() const { return !mode.isEmpty(); } // It has just come, else.
};

// The screens, and which of them the overlay is on. Wayland has no main screen: some desktops say which one
// is theirs; elsewhere the compositor chooses one for each new surface, where it thinks that the user is.
class WaylandOutputs {
public:
    WaylandOutputs(WaylandConnection &connection, ScreenChoice choice);

    // The one to ask for; null: the compositor is to choose.
    const WaylandOutput *wanted();

    // The overlay's, or the one that it is most likely to come to; null without any.
    const WaylandOutput *current();
    // The compositor has put the overlay there.
    void entered(wl_output *output);
    bool has(const wl_output *output) const;

    // Of the overlay's screen.
    QSize pixels();
    double scale();
    Size size();  // Points.
    QRect area(); // Device pixels; its place on the desktop, too.

    // All screens together, points.
    QRect desktop() const;
    const std::vector<std::unique_ptr<WaylandOutput>> &all() const { return m_outputs; }

    // The overlay's screen is another one, has another place, size or scale, or has gone. One listener.
    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

private:
    struct State {
        const WaylandOutput *output = nullptr;
        QRect area;
        double scale = 1;
        bool operator==(const State &) const = default;
    };

    void add(const WaylandConnection::Global &global);
    void remove(std::uint32_t global);
    void tellChange();
    const WaylandOutput *named(const std::string &name) const;

    WaylandConnection &m_connection;
    ScreenChoice m_choice;
    WaylandPtr<zxdg_output_manager_v1> m_places;
    WaylandPtr<kde_output_order_v1> m_orderSource;
    std::vector<std::string> m_order, m_coming;
    std::vector<std::unique_ptr<WaylandOutput>> m_outputs;
    std::uint32_t m_entered = 0; // Global name; 0: none.
    bool m_missed = false;
    State m_told;
    std::function<void()> m_changed;
};

} // namespace companion
