#pragma once

#include <QColor>
#include <QWidget>

class QLabel;

namespace companion {

// A view with nothing of its own but a background, a one-point frame and rounded corners. The frame's lines
// fall on whole pixels at every scale.
class PlainView : public QWidget {
public:
    explicit PlainView(QWidget *parent = nullptr);

    void setBackground(const QColor &color);
    void setBorder(const QColor &color);
    void setCornerRadius(double points);

    // The frame's upper line runs behind the middle of this label, which must lie in the view.
    void setCaption(const QLabel *caption);

    QColor background() const { return m_background; }
    QColor border() const { return m_border; }
    double cornerRadius() const { return m_cornerRadius; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_background; // An invalid colour paints nothing.
    QColor m_border;
    double m_cornerRadius = 0;
    const QLabel *m_caption = nullptr;
};

} // namespace companion
