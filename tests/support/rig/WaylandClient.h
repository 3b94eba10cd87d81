#pragma once

#include "support/rig/Waiting.h"

#include <QImage>
#include <QPoint>
#include <QRect>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace companion::rig {

// One program on a compositor that is the slide, the hand on mouse and keys and, where the compositor lets
// programs read the screen, the eye. Its one output begins at 0,0; all places are its device pixels.
class WaylandClient {
public:
    WaylandClient(const std::string &socket, double scale);
    ~WaylandClient();

    QSize size() const;

    void move(QPoint to);
    void button(int number, bool press);        // As X counts them.
    QPoint pointer() const;                     // Where move() has put it.
    void key(std::uint8_t keycode, bool press); // X's.

    // Throws where the compositor does not give it this way.
    QImage picture(bool withCursor);

    // The slide: on all of the screen when this returns.
    void showSlide(const QImage &picture);
    struct Button {
        bool press;
        int number;
        QPoint at;
    };
    const std::vector<Button> &buttons();
    const std::vector<std::uint8_t> &keys(); // X's codes of those pressed.
    bool hasKeyboard();                      // The slide.
    void forget();

private:
    struct State;
    std::unique_ptr<State> m;
};

} // namespace companion::rig
