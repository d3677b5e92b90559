// The front application (on X11, against a virtual X server: the test runs
// itself again under xvfb-run on the xcb platform and checks there), and
// which session gets which route for it and for the global shortcut.

#include "platform/frontapp.h"
#include "platform/globalshortcut.h"
#include "platform/session.h"
#include "support/sandbox.h"

#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <xcb/xcb.h>

static xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    const QScopedPointer<xcb_intern_atom_reply_t, QScopedPointerPodDeleter> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(qstrlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Makes a window on `c`, of the process `pid` if given, and names it the
// active one.
static void activateWindow(xcb_connection_t *c, uint32_t pid = 0)
{
    const xcb_window_t window = xcb_generate_id(c);
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, 0, nullptr);
    if (pid) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 14,
                            "sleep\0Sleeper\0");
    }
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, screen->root, atom(c, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1,
                        &window);
    free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: the change is in
}

static QString home(const QString &name) { return QDir::homePath() + '/' + name; }

static QString writeEntry(const QString &path, const QByteArray &name, const QByteArray &extra = {})
{
    Sandbox::writeFile(path, "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=sleep 1\n" + extra);
    return path;
}

class TestFrontApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // One entry by its file: its icon, whether it runs, and whether the
    // desktop skips it (only the main group counts). An entry whose TryExec
    // program is gone still reads (the login item's may be one).
    void desktopEntries()
    {
        const auto facts = readDesktopEntry(writeEntry(home("editor.desktop"), "Editor",
                                                       "Icon=accessories-text-editor\nTryExec=/nonexistent/edit\n"
                                                       "[Desktop Action new]\nIcon=other\nHidden=true\n"));
        QVERIFY(facts && facts->shows() && !facts->runnable && facts->icon == "accessories-text-editor");
        QVERIFY(readDesktopEntry(writeEntry(home("viewer.desktop"), "Viewer"))->runnable);
        Sandbox::writeFile(home("viewer.desktop"), "Name=No group\n");
        QVERIFY(!readDesktopEntry(home("viewer.desktop")) && !readDesktopEntry(home("missing.desktop")));

        // Desktop entries are read once, off the GUI thread, and again only
        // after an applications folder changed, even one that did not exist:
        // a lookup reads none of them. A hidden entry is not offered.
        const QString folder = home("applications"), later = home("later/applications");
        QDir().mkpath(home("later"));
        const QString editor = writeEntry(folder + "/kde/editor.desktop", "Ed", "StartupWMClass=EdWin\n");
        writeEntry(folder + "/gone.desktop", "Gone", "Hidden=true\n");
        DesktopEntries entries({folder, later});
        QVERIFY(QSignalSpy(&entries, &DesktopEntries::loaded).wait(10000));
        const auto path = [&](const QString &cls) { return describeProcess(*entries.entries(), 0, cls).path; };
        QVERIFY(path("EdWin") == editor && entries.entries()->size() == 1);
        const QString sleeper = writeEntry(later + "/sleeper.desktop", "Sleeper");
        QCOMPARE(path("Sleeper"), std::nullopt);
        QTRY_COMPARE_WITH_TIMEOUT(path("Sleeper"), std::optional<QString>(sleeper), 10000);
    }

    void namesTheActiveWindowsApplication()
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            // Outside: run this same test again inside a virtual X server.
            const QString xvfbRun = QStandardPaths::findExecutable("xvfb-run");
            if (xvfbRun.isEmpty())
                QSKIP("xvfb-run is not installed");
            QStringList args = {"-a", "env", "-u", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM=xcb", "XDG_SESSION_TYPE=x11"};
            args << QCoreApplication::applicationFilePath() << QTest::currentTestFunction();
            QCOMPARE(QProcess::execute(xvfbRun, args), 0);
            return;
        }
        const QString entry = writeEntry(home(".local/share/applications/sleeper.desktop"), "Sleeper");
        QProcess sleeper;
        sleeper.start("sleep", {"30"});
        QVERIFY(sleeper.waitForStarted());
        std::unique_ptr<FrontApp> front = makeFrontApp();
        QVERIFY(!front->frontmost()); // no window manager has named an active window yet

        // One of our own windows: ourselves.
        activateWindow(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection());
        QCOMPARE(front->frontmost().value_or(RunningApp()).pid, QCoreApplication::applicationPid());

        // Another client's window, naming the sleeping process; the entries
        // are read in the background, once.
        const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t *)> other(xcb_connect(nullptr, nullptr),
                                                                                    xcb_disconnect);
        activateWindow(other.get(), uint32_t(sleeper.processId()));
        QTRY_VERIFY_WITH_TIMEOUT(front->frontmost() && front->frontmost()->path == entry, 10000);
        QCOMPARE(front->frontmost()->pid, sleeper.processId());
    }

    // A Wayland session gets the portal even where Qt runs on XWayland (an X
    // grab there hears keys only while an X window has focus), and no
    // front application; an X11 session gets the key grab. Through XWayland
    // only in a Wayland session that has it, and never against the user's
    // own choice.
    void routesFollowTheSession()
    {
        qputenv("XDG_SESSION_TYPE", "wayland");
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        QCOMPARE(shortcutRoute(sessionKind(), "xcb"), ShortcutRoute::portal);
        QVERIFY(!makeFrontApp()->frontmost());
        qputenv("XDG_SESSION_TYPE", "x11");
        QCOMPARE(shortcutRoute(sessionKind(), "xcb"), ShortcutRoute::keyGrab);
        QCOMPARE(preferredQtPlatform(SessionKind::wayland, false, true), QByteArray("xcb"));
        QVERIFY(preferredQtPlatform(SessionKind::wayland, true, true).isEmpty());
    }
};

QTEST_MAIN(TestFrontApp)
#include "test_frontapp.moc"
