#include "actions/views/previewer.h"

#include "actions/views/screens.h"

#include "actions/views/previewwindow.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace {

// The share of the screen's usable area the preview opens at.
constexpr double widthShare = 0.7;
constexpr double heightShare = 0.8;

QScreen *screenFor(QWidget *near)
{
    if (near && near->window()->isVisible())
        if (QScreen *screen = near->window()->screen())
            return screen;
    return screenUnderPointer();
}

} // namespace

Previewer::Previewer(QObject *parent) : QObject(parent) {}

Previewer::~Previewer()
{
    if (m_near)
        m_near->window()->removeEventFilter(this);
}

bool Previewer::isOpen() const { return m_window && m_window->isVisible(); }

QUrl Previewer::currentURL() const
{
    return m_current >= 0 && m_current < m_urls.size() ? m_urls.at(m_current) : QUrl();
}

void Previewer::show(const QUrl &file, const QList<QUrl> &list, QWidget *near)
{
    QList<QUrl> urls = list;
    if (urls.isEmpty() && !file.isEmpty())
        urls.append(file);
    if (urls.isEmpty())
        return;
    const int index = std::max<int>(0, int(urls.indexOf(file)));
    if (urls != m_urls) {
        m_urls = urls;
        Q_EMIT urlsChanged();
    }
    ensureWindow();
    const bool opening = !m_window->isVisible();
    if (opening)
        placeNear(near);
    if (index != m_current) {
        m_current = index;
        Q_EMIT currentChanged(m_current);
    }
    showCurrent();
    if (opening) {
        m_window->show();
        m_window->raise();
        // Only a preview opened on its own takes the keyboard.
        if (!m_near)
            m_window->activateWindow();
    }
}

void Previewer::toggle(const std::optional<QUrl> &file, const QList<QUrl> &list, QWidget *near)
{
    if (isOpen()) {
        close();
        return;
    }
    if (file)
        show(*file, list, near);
}

void Previewer::close()
{
    if (m_window)
        m_window->hide();
}

void Previewer::setCurrent(int index)
{
    if (m_urls.isEmpty())
        return;
    index = std::clamp(index, 0, int(m_urls.size()) - 1);
    if (index == m_current)
        return;
    m_current = index;
    Q_EMIT currentChanged(m_current);
    showCurrent();
}

void Previewer::follow(const QList<QUrl> &list)
{
    if (!isOpen() || list == m_urls)
        return;
    if (list.isEmpty()) {
        close();
        return;
    }
    int index = int(list.indexOf(currentURL()));
    if (index < 0)
        index = std::clamp(m_current, 0, int(list.size()) - 1);
    m_urls = list;
    Q_EMIT urlsChanged();
    if (index != m_current) {
        m_current = index;
        Q_EMIT currentChanged(m_current);
    }
    showCurrent();
}

void Previewer::filesChanged(const QList<QUrl> &files)
{
    if (m_window)
        m_window->filesChanged(files);
}

void Previewer::ensureWindow()
{
    if (m_window)
        return;
    m_window = std::make_unique<PreviewWindow>();
    connect(m_window.get(), &PreviewWindow::stepRequested, this, &Previewer::step);
    connect(m_window.get(), &PreviewWindow::closeRequested, this, &Previewer::close);
    connect(m_window.get(), &PreviewWindow::shownChanged, this, &Previewer::openChanged);
}

void Previewer::placeNear(QWidget *near)
{
    if (m_near)
        m_near->window()->removeEventFilter(this);
    m_near = near ? near->window() : nullptr;
    if (m_near)
        m_near->installEventFilter(this);
    m_window->setKeyTarget(m_near);
    // Keeping the keyboard with the shelf: the window manager is told the
    // preview never wants the focus, and showing it does not activate it.
    m_window->setWindowFlag(Qt::WindowDoesNotAcceptFocus, bool(m_near));
    m_window->setAttribute(Qt::WA_ShowWithoutActivating, bool(m_near));
    if (QScreen *screen = screenFor(m_near)) {
        const QRect available = screen->availableGeometry();
        QRect frame(0, 0, int(available.width() * widthShare), int(available.height() * heightShare));
        frame.moveCenter(available.center());
        m_window->setScreen(screen);
        m_window->setGeometry(frame);
    }
}

void Previewer::showCurrent()
{
    if (!m_window || m_current < 0)
        return;
    QList<QUrl> neighbours;
    if (m_current > 0)
        neighbours.append(m_urls.at(m_current - 1));
    if (m_current + 1 < m_urls.size())
        neighbours.append(m_urls.at(m_current + 1));
    m_window->showItem(m_urls.at(m_current), m_current, int(m_urls.size()), neighbours);
}

bool Previewer::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_near && event->type() == QEvent::Hide)
        close();
    return QObject::eventFilter(watched, event);
}
