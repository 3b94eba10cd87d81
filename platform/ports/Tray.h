#pragma once

#include <functional>
#include <string>
#include <vector>

namespace companion {

// The status icon with its menu.
class Tray {
public:
    struct Entry {
        std::string title;
        std::function<void()> action; // None: the entry is shown disabled.
    };

    virtual ~Tray() = default;

    // What a click on the icon does, besides opening the menu. Set before the icon is shown.
    virtual void setAction(std::function<void()> clicked) = 0;

    // As soon as the desktop has a place for it, however late. `iconName` names an image of the program's
    // resources; one that is missing gives no icon and no message.
    virtual void show(const std::string &iconName, const std::string &menuTitle,
                      std::vector<Entry> entries) = 0;
};

} // namespace companion
