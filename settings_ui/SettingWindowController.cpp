#include "settings_ui/SettingWindowController.h"

#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPixmapCache>
#include <QScreen>
#include <QVBoxLayout>

#include <utility>

namespace companion {
namespace {

// The window has no title text. Given none at all, the toolkit would put the program's name there.
constexpr QLatin1String kNoTitle(" ");

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
        auto *layout = new QVBoxLayout(this); // NOLINT(cppcoreguidelines-owning-memory): Qt's.
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSizeConstraint(QLayout::SetFixedSize);
        layout->addWidget(&m_content->view());
    }

    ~SettingWindow() override {
        m_content->view().setParent(nullptr); // The content's own; it may live on.
        QPixmapCache::clear(); // Qt caches a style sheet's pictures anew for each window, up to megabytes.
    }

    SettingViewController &content() const { return *m_content; }
    bool isResizable() const { return layout()->sizeConstraint() != QLayout::SetFixedSize; }

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
    std::shared_ptr<SettingViewController> m_content;
    SettingWindowController *m_controller;
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

    const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (screen == nullptr)
        screen = QGuiApplication::primaryScreen();
    m_window->adjustSize();
    m_window->move(centred(m_window->size(), screen->availableGeometry()));
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
