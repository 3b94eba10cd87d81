#pragma once

#include <QIcon>
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
    QIcon m_icon;
};

} // namespace companion
