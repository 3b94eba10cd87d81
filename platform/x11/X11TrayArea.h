#pragma once

#include "platform/ports/TrayArea.h"
#include "platform/x11/X11SelectionWatch.h"

namespace companion {

// An XEmbed tray.
class X11TrayArea final : public TrayArea {
public:
    static constexpr const char *kSelection = "_NET_SYSTEM_TRAY";

    explicit X11TrayArea(X11Connection &connection)
        : m_selection(connection, kSelection, [this] {
              if (present() && m_appeared)
                  m_appeared();
          }) {}

    bool present() const override { return m_selection.held(); }
    void onAppeared(std::function<void()> listener) override { m_appeared = std::move(listener); }

private:
    std::function<void()> m_appeared;
    X11SelectionWatch m_selection;
};

} // namespace companion
