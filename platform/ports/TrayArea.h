#pragma once

#include <functional>

namespace companion {

// The place for status icons that a panel offers on the display itself, the older of the two kinds of tray.
class TrayArea {
public:
    virtual ~TrayArea() = default;

    virtual bool present() const = 0;

    // Called whenever one has come.
    virtual void onAppeared(std::function<void()> listener) = 0;
};

} // namespace companion
