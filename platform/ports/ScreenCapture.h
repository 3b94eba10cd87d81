#pragma once

#include <QImage>

#include <functional>

namespace companion {

// A still picture of what the user sees.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    virtual bool available() const = 0;

    // The part of the desktop that the overlay covers, in device pixels, with the overlay's own drawing in it
    // if it shows any. Calls back on the main queue's thread, at once or later, exactly once; a null image
    // means refused. The image stays as it is for as long as it is held, at the cost of a whole screen's
    // memory; drop it before the next capture and that memory is used again.
    virtual void captureDesktop(std::function<void(const QImage &)> done) = 0;

    // Takes as small a picture as can be, for nobody: where the user must allow pictures of the screen, this
    // is what makes the desktop ask.
    virtual void probe() = 0;
};

} // namespace companion
