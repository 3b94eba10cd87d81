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
    // means refused. The image may look into memory that the next capture reuses: keep a copy, not the image,
    // beyond that.
    virtual void captureDesktop(std::function<void(const QImage &)> done) = 0;
};

} // namespace companion
