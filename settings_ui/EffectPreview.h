#pragma once

#include "settings/ConfigManager.h"

#include <QImage>
#include <QWidget>

#include <optional>

namespace companion {

// A slide with an effect on it as the overlay would show it, in the record's colours, transparency, size and
// magnification. Fills its place.
class EffectPreview : public QWidget {
public:
    explicit EffectPreview(QWidget *parent = nullptr);

    // The record must outlive the view. What changes in it is seen with the next update().
    void setConfig(const ConfigManager &config) { m_config = &config; }

    // A slide of the resources and the effect on it. Nothing is shown before.
    void showEffect(const QString &imageName, EffectType type);
    const QString &imageName() const { return m_name; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double scale() const;
    double diameter() const;
    QPointF spot() const;
    void paintSlide(QPainter &painter);
    void paintSpotlight(QPainter &painter) const;
    void paintLaser(QPainter &painter) const;
    void paintLens(QPainter &painter);

    const ConfigManager *m_config = nullptr;
    QString m_name;
    EffectType m_type = kEffectNormal;
    QImage m_slide; // As large as it fits, in device pixels.
};

} // namespace companion
