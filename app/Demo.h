#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"

#include <QPointF>

#include <functional>

namespace companion {

class OverlaySurface;
class SyntheticMouse;
class VirtualReceiver;

// Shows each effect in turn: switches the mode, holds the effect key and moves the mouse in a circle, as
// somebody with the presenter would. Everything goes through the virtual receiver's keys and real mouse
// events.
class Demo {
public:
    // All of it must outlive the demonstration.
    struct Needs {
        MainQueue &queue;
        VirtualReceiver &receiver;
        OverlaySurface &surface;
        SyntheticMouse &mouse;
        std::function<void()> finished;
    };

    explicit Demo(const Needs &needs);

    void start();

private:
    void showNext();
    void holdKey();
    void moveMouse();
    void releaseKey();
    void end();
    void after(std::chrono::milliseconds delay, void (Demo::*step)());

    Needs m_needs;
    std::size_t m_effect = 0;
    int m_step = 0; // Of the circle.
    Lifetime m_lifetime;
};

} // namespace companion
