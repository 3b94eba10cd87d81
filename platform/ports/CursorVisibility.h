#pragma once

namespace companion {

// The mouse cursor's visibility on the whole desktop. The cursor comes back when the process ends, however it
// ends.
class CursorVisibility {
public:
    virtual ~CursorVisibility() = default;

    virtual bool available() const = 0;

    // Hides the cursor until the mouse next moves, whoever moves it.
    virtual void setHiddenUntilMouseMoves() = 0;

    // Shows it now.
    virtual void show() = 0;
};

} // namespace companion
