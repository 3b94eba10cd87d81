#pragma once

#include "overlay/View.h"

#include <QFont>
#include <QString>

namespace companion {

// A label: centred text in the system font on the layer's rounded background.
class TextField final : public View {
public:
    // `fontSize` in points of the overlay. Text that does not fit in this size is drawn smaller rather than
    // cut.
    TextField(const PointRect &frame, double fontSize);

    const QString &text() const { return m_text; }
    void setText(const QString &text);

    void paint(const PixelPatch &patch) const override;

protected:
    Look drawRect(const PixelSpace &space, const PointRect &frameInRoot) override;

private:
    double m_fontSize;
    QString m_text;
    double m_scale = 1;
    QRectF m_room; // For the text, device pixels.
    QFont m_font;  // In which the text fits.
};

} // namespace companion
