#pragma once

#include <QImage>
#include <QString>
#include <QWidget>

namespace companion {

// Shows one of the program's pictures, centred and as large as fits its own proportions.
class PictureView : public QWidget {
public:
    explicit PictureView(QWidget *parent = nullptr);

    void setImageName(const QString &name);
    QString imageName() const { return m_name; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_name;
    QImage m_rendered; // At the view's present size.
};

} // namespace companion
