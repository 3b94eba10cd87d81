#pragma once

#include "core/Color.h"

#include <QPointer>
#include <QPushButton>

#include <functional>
#include <optional>

class QColorDialog;

namespace companion {

// A button that shows a colour, without its alpha, and opens the desktop's colour dialog to choose another.
// The dialog blocks nothing. While it is open the well is active; activating a well releases any other.
class ColorWell : public QPushButton {
public:
    // When a colour counts as chosen.
    enum class Choice {
        OnAccept,   // Once, with the dialog's OK.
        OnEveryPick // With every click in the dialog, which stays open.
    };

    explicit ColorWell(QWidget *parent = nullptr);
    ~ColorWell() override;

    void setChoice(Choice choice) { m_choice = choice; }

    // Says which colour it is; the dialog's title.
    void setCaption(const QString &caption);

    // Null is shown as crossed out.
    void setColor(const std::optional<Color> &color);
    const std::optional<Color> &color() const { return m_color; }

    // Runs after color() has changed to what was chosen; the alpha is always 1.
    void onSelected(std::function<void()> handler) { m_selected = std::move(handler); }
    // Runs after the dialog has closed, but not when it goes together with the well.
    void onDialogClosed(std::function<void()> handler) { m_dialogClosed = std::move(handler); }

    void activate();
    void deactivate();
    bool isActive() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void finish(int result);
    void select(const QColor &color);

    Choice m_choice = Choice::OnAccept;
    QString m_caption;
    std::optional<Color> m_color;
    std::function<void()> m_selected;
    std::function<void()> m_dialogClosed;
    QPointer<QColorDialog> m_dialog;
};

} // namespace companion
