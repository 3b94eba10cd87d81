#pragma once

#include <QPushButton>

namespace companion {

// One of the effects to choose from, with a glyph beside its text. The arrow keys go to the button that lies
// there, among those of the same parent; Enter and Space choose.
class ModeButton : public QPushButton {
public:
    explicit ModeButton(QWidget *parent = nullptr);

    // A picture of the resources, in the colour of the text.
    void setGlyph(const QString &image);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void focusNeighbour(QPoint direction);
};

} // namespace companion
