#pragma once

#include <QColor>

class QLabel;
class QWidget;

namespace companion {

inline constexpr QColor kWindowColor{191, 190, 165};

// Gives the view and all that it holds the settings' own look: one style, light palette and style sheet,
// whatever the desktop's theme.
void applyLook(QWidget &root);

// The caption hides the frame line that runs behind it.
void captionOnFrameLine(QLabel &caption);

// Makes the widget wide enough for every language's text of that key, so that no text is ever cut and nothing
// moves when the language changes. Works on what has a text: labels and buttons.
void reserveWidth(QWidget &widget, const QString &key);

// Gives a label that wraps its lines the size of its text: no wider than that many points, and no wider than
// its number of lines needs, so that no single word is left over for the last line.
void wrapEvenly(QLabel &label, int widest);

} // namespace companion
