#include "settings_ui/SettingWindowController.h"

#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QPixmapCache>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace companion {
namespace {

// The window has no title text. Given none at all, the toolkit would put the program's name there.
constexpr QLatin1String kNoTitle(" ");

// Of a window's frame, more or less: what the window manager puts around it is not known before.
constexpr QSize kFrame(8, 36);
// Between two windows that are open at the same time, in points.
constexpr int kCascade = 32;

// Centred, but never with its title bar outside of the screen.
QPoint centred(QSize window, QRect screen) {
    const QPoint topLeft = screen.center() - QPoint(window.width() / 2, window.height() / 2);
    return {std::max(topLeft.x(), screen.left()), std::max(topLeft.y(), screen.top())};
}

} // namespace

class SettingWindow : public QWidget {
public:
    SettingWindow(std::shared_ptr<SettingViewController> content, SettingWindowController &controller)
        : m_content(std::move(content)),
          m_controller(&controller) {
        setProperty("a11yRole", "dialog");
        // NOLINTBEGIN(cppcoreguidelines-owning-memory): Qt's.
        auto *layout = new QVBoxLayout(this);
        m_scroll = new QScrollArea(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_scroll);
        m_scroll->setFrameShape(QFrame::NoFrame);
        m_scroll->setFocusPolicy(Qt::NoFocus);
        m_scroll->setWidgetResizable(true);
        QWidget &view = m_content->view();
        view.setMinimumSize(view.sizeHint());
        setAccessibleName(view.accessibleName());
        m_scroll->setWidget(&view);
        m_content->focusMode();
        // As a shortcut: a list takes whatever has a text for a search.
        auto *close = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
        // NOLINTEND(cppcoreguidelines-owning-memory)
        connect(close, &QShortcut::activated, this, &QWidget::close);
        // Later, since the toolkit then scrolls to where the text cursor is, and to no more.
        connect(
            qApp, &QApplication::focusChanged, this, [this] { scrollToFocus(); }, Qt::QueuedConnection);
    }

    ~SettingWindow() override {
        m_scroll->takeWidget(); // The content's own; it may live on.
        QPixmapCache::clear();  // Qt caches a style sheet's pictures anew for each window, up to megabytes.
    }

    // As large as the content, or as the room on the screen; what does not fit is scrolled to.
    void fit(QSize room) {
        QSize size = m_content->view().minimumSize();
        const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
        if (size.height() > room.height())
            size.rwidth() += bar;
        if (size.width() > room.width())
            size.rheight() += bar;
        setFixedSize(size.boundedTo(room));
    }

    SettingViewController &content() const { return *m_content; }
    bool isResizable() const { return minimumSize() != maximumSize(); }

    void letGo() {
        m_controller = nullptr;
        m_content->closeDialogs();
    }

protected:
    // Not as a shortcut: that would be quicker than an open list, which Escape is to close first.
    void keyPressEvent(QKeyEvent *event) override {
        if (event->matches(QKeySequence::Cancel) || event->matches(QKeySequence::Close))
            close();
        else
            QWidget::keyPressEvent(event);
    }

    void closeEvent(QCloseEvent *event) override {
        event->accept();
        if (m_controller != nullptr)
            m_controller->windowWillClose();
    }

private:
    void scrollToFocus() {
        const QWidget *focused = focusWidget();
        if (focused == nullptr || !m_content->view().isAncestorOf(focused))
            return;
        constexpr int kMargin = 8;
        const QRect place(focused->mapTo(&m_content->view(), QPoint()), focused->size());
        m_scroll->ensureVisible(place.center().x(), place.center().y(), place.width() / 2 + kMargin,
                                place.height() / 2 + kMargin);
    }

    std::shared_ptr<SettingViewController> m_content;
    SettingWindowController *m_controller;
    QScrollArea *m_scroll = nullptr;
};

void SettingWindowController::DeleteLater::operator()(SettingWindow *window) const {
    window->letGo();
    window->hide();
    window->deleteLater();
}

SettingWindowController::SettingWindowController(const Needs &needs, std::function<void()> closedByUser)
    : m_needs(needs),
      m_closedByUser(std::move(closedByUser)) {}

SettingWindowController::~SettingWindowController() = default;

void SettingWindowController::load() {
    if (m_window != nullptr)
        return;
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the pointer has a deleter of its own.
    m_window.reset(new SettingWindow(SettingViewController::create(m_needs), *this));
    windowDidLoad();
}

void SettingWindowController::show() {
    load();
    if (!m_window->isVisible())
        m_window->content().viewWillAppear();
    m_window->show();
    m_window->raise();
    if (m_owner == nullptr) // Asked to activate its dialog, a tiling window manager ends the full screen.
        m_window->activateWindow();
}

void SettingWindowController::belongTo(WId fullScreenWindow) {
    m_window->hide();
    m_window->winId(); // Makes the handle.
    std::unique_ptr<QWindow> owner(QWindow::fromWinId(fullScreenWindow));
    m_window->windowHandle()->setTransientParent(owner.get());
    m_owner = std::move(owner);
}

void SettingWindowController::windowDidLoad() {
    // Always on top stands for the level: window managers know no numbers. Those that put windows side by
    // side let a dialog float.
    m_window->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                             Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint);
    static_cast<void>(m_window->isResizable()); // Asked, and so far of no consequence.
    m_window->setWindowTitle(kNoTitle);
    m_window->setAttribute(Qt::WA_QuitOnClose, false); // The program goes on without a window.

    const QScreen *screen = QApplication::screenAt(QCursor::pos());
    if (screen == nullptr)
        screen = QApplication::primaryScreen();
    m_window->fit(screen->availableGeometry().size() - kFrame);
    const auto open = QApplication::topLevelWidgets();
    const auto others = std::count_if(open.begin(), open.end(), [](const QWidget *each) {
        return each->isVisible() && dynamic_cast<const SettingWindow *>(each) != nullptr;
    });
    const QPoint aside(static_cast<int>(others) * kCascade, static_cast<int>(others) * kCascade);
    m_window->move(centred(m_window->size(), screen->availableGeometry()) + aside);
}

void SettingWindowController::dismiss() {
    if (m_window == nullptr)
        return;
    const auto closing = std::move(m_window); // A handler of the post may dismiss again, or destroy this.
    m_needs.center.post(NSWindowWillCloseNotification);
}

void SettingWindowController::windowWillClose() {
    const auto tell = m_closedByUser; // Likewise.
    dismiss();
    if (tell)
        tell();
}

QWidget *SettingWindowController::window() const {
    return m_window.get();
}

WId SettingWindowController::nativeWindow() const {
    return m_window == nullptr ? 0 : m_window->winId();
}

} // namespace companion
