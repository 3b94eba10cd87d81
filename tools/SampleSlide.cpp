// A full-screen slide to show the effects on, where no slideshow is at hand. Page Up and Page Down turn it.
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QWidget>

#include <array>

namespace {

struct Slide {
    const char *title;
    std::array<const char *, 3> points;
    std::array<double, 4> bars; // Parts of the chart's height.
};

const Slide kSlides[] = {
    {"Quarterly results",
     {"Revenue grew in every region", "Two new products are in the field", "Costs stayed where they were"},
     {0.40, 0.55, 0.72, 0.95}},
    {"Outlook",
     {"A third product follows in spring", "The team grows by four", "Service moves closer to customers"},
     {0.85, 0.60, 0.90, 0.70}},
};
const QColor kBarColours[] = {"#457b9d", "#1d3557", "#2a9d8f", "#e76f51"};

class SlideWindow : public QWidget {
protected:
    void paintEvent(QPaintEvent *) override {
        // Drawn on a plane of 1600 by 900, stretched to the screen.
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(width() / 1600.0, height() / 900.0);
        QLinearGradient paper(0, 0, 0, 900);
        paper.setColorAt(0, "#f4f6fb");
        paper.setColorAt(1, "#c9d6ee");
        painter.fillRect(QRectF(0, 0, 1600, 900), paper);

        const Slide &slide = kSlides[m_page];
        QFont font = painter.font();
        const auto text = [&](double y, int size, const QColor &colour, const QString &words) {
            font.setPixelSize(size);
            painter.setFont(font);
            painter.setPen(colour);
            painter.drawText(QPointF(120, y), words);
        };
        text(180, 84, "#1d3557", QLatin1String(slide.title));
        double y = 335;
        for (const char *point : slide.points) {
            text(y, 42, "#2f3e55", QStringLiteral("•  ") + QLatin1String(point));
            y += 80;
        }
        double x = 980;
        for (std::size_t i = 0; i < slide.bars.size(); ++i) {
            const double height = 560 * slide.bars[i];
            painter.fillRect(QRectF(x, 800 - height, 90, height), kBarColours[i]);
            x += 130;
        }
    }

    void keyPressEvent(QKeyEvent *event) override {
        if (event->key() == Qt::Key_PageDown || event->key() == Qt::Key_PageUp) {
            m_page = 1 - m_page;
            update();
        }
    }

private:
    std::size_t m_page = 0;
};

} // namespace

int main(int argc, char **argv) {
    const QApplication application(argc, argv);
    SlideWindow window;
    window.setWindowTitle(QStringLiteral("Sample slide"));
    window.showFullScreen();
    return QApplication::exec();
}
