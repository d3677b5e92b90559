// The front application (on X11, against a virtual X server: the test runs
// itself again under xvfb-run on the xcb platform and checks there), and
// which session gets which route for it and for the global shortcut.

#include "platform/frontapp.h"
#include "platform/globalshortcut.h"
#include "platform/session.h"
#include "support/sandbox.h"

#include <QGuiApplication>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return result;
}

void setActiveWindow(xcb_connection_t *c, xcb_window_t window)
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, root, atom(c, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1, &window);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: the change is in
}

xcb_window_t makeWindow(xcb_connection_t *c)
{
    const xcb_window_t window = xcb_generate_id(c);
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, 0, nullptr);
    return window;
}

} // namespace

class TestFrontApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // One entry by its file: its icon, whether it runs, and whether the
    // desktop skips it (only the main group counts). An entry whose TryExec
    // program is gone still reads (the login item's may be one; Exec's
    // quoting is the login item's test).
    void oneEntryByItsFile()
    {
        Sandbox box;
        const QString editor = box.path("editor.desktop"), viewer = box.path("viewer.desktop");
        Sandbox::writeFile(editor, "[Desktop Entry]\nType=Application\nName=Editor\nExec=ed\n"
                                   "Icon=accessories-text-editor\nTryExec=/nonexistent/edit\n"
                                   "[Desktop Action new]\nIcon=other\nHidden=true\n");
        const std::optional<DesktopEntryFacts> facts = readDesktopEntry(editor);
        QVERIFY(facts && facts->shows() && !facts->runnable);
        QCOMPARE(facts->icon, QStringLiteral("accessories-text-editor"));
        Sandbox::writeFile(viewer, "[Desktop Entry]\nType=Application\nName=Viewer\nExec=sh\n");
        QVERIFY(readDesktopEntry(viewer)->runnable);
        Sandbox::writeFile(viewer, "Name=No group\n");
        QVERIFY(!readDesktopEntry(viewer) && !readDesktopEntry(box.path("missing.desktop")));
    }

    void namesTheActiveWindowsApplication()
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            // Outside: run this same test again inside a virtual X server.
            const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
            if (xvfbRun.isEmpty())
                QSKIP("xvfb-run is not installed");
            QProcess inner;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("QT_QPA_PLATFORM", "xcb");
            env.insert("XDG_SESSION_TYPE", "x11");
            env.remove("WAYLAND_DISPLAY");
            inner.setProcessEnvironment(env);
            inner.setProcessChannelMode(QProcess::ForwardedChannels);
            inner.start(xvfbRun, {"-a", QCoreApplication::applicationFilePath(), QTest::currentTestFunction()});
            QVERIFY(inner.waitForFinished(60000));
            QCOMPARE(inner.exitCode(), 0);
            return;
        }

        Sandbox box;
        const QString entry = qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications/sleeper.desktop");
        Sandbox::writeFile(entry, "[Desktop Entry]\nType=Application\nName=Sleeper\nExec=sleep 1\n");
        QProcess sleeper;
        sleeper.start(QStringLiteral("sleep"), {QStringLiteral("30")});
        QVERIFY(sleeper.waitForStarted());

        xcb_connection_t *ours = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        std::unique_ptr<FrontApp> front = makeFrontApp();
        QVERIFY(!front->frontmost()); // no window manager has named an active window yet

        // One of our own windows: ourselves.
        setActiveWindow(ours, makeWindow(ours));
        QCOMPARE(front->frontmost().value_or(RunningApp()).pid, QCoreApplication::applicationPid());

        // Another client's window, naming the sleeping process.
        xcb_connection_t *other = xcb_connect(nullptr, nullptr);
        QVERIFY(!xcb_connection_has_error(other));
        const xcb_window_t window = makeWindow(other);
        const uint32_t pid = uint32_t(sleeper.processId());
        xcb_change_property(other, XCB_PROP_MODE_REPLACE, window, atom(other, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1,
                            &pid);
        xcb_change_property(other, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 14,
                            "sleep\0Sleeper\0");
        setActiveWindow(other, window);
        // The entries are read in the background, once.
        QTRY_COMPARE_WITH_TIMEOUT(front->frontmost().value_or(RunningApp()).path, std::optional<QString>(entry), 10000);
        QCOMPARE(front->frontmost()->pid, qint64(pid));

        xcb_disconnect(other);
        sleeper.kill();
        sleeper.waitForFinished();
    }

    // Desktop entries are read once, off the GUI thread, and again only
    // after an applications folder changed: a lookup reads none of them.
    void desktopEntriesAreReadOnceAndOnChange()
    {
        Sandbox box;
        const QString folder = box.path(QStringLiteral("applications"));
        const QString later = box.path(QStringLiteral("later/applications"));
        QDir().mkpath(box.path(QStringLiteral("later")));
        Sandbox::writeFile(folder + QStringLiteral("/kde/editor.desktop"),
                           "[Desktop Entry]\nType=Application\nName=Ed\nExec=ed\nStartupWMClass=EdWin\n");
        Sandbox::writeFile(folder + QStringLiteral("/gone.desktop"),
                           "[Desktop Entry]\nType=Application\nName=Gone\nExec=ed\nHidden=true\n");
        DesktopEntries entries({folder, later});
        QSignalSpy loaded(&entries, &DesktopEntries::loaded);
        QVERIFY(loaded.wait(10000));
        const auto describe = [&entries](const QString &windowClass) {
            return describeProcess(*entries.entries(), 0, windowClass);
        };
        QCOMPARE(describe(QStringLiteral("EdWin")).path, folder + QStringLiteral("/kde/editor.desktop"));
        QCOMPARE(entries.entries()->size(), 1); // the hidden one is not offered

        // A new entry, even in a folder that did not exist: not read on the
        // spot, but soon after.
        const QString sleeper = later + QStringLiteral("/sleeper.desktop");
        Sandbox::writeFile(sleeper, "[Desktop Entry]\nType=Application\nName=Sleeper\nExec=sleep 1\n");
        QCOMPARE(describe(QStringLiteral("Sleeper")).path, std::nullopt);
        QCOMPARE(describe(QStringLiteral("Sleeper")).name, QStringLiteral("Sleeper"));
        QTRY_COMPARE_WITH_TIMEOUT(describe(QStringLiteral("Sleeper")).path, std::optional<QString>(sleeper), 10000);
    }

    // A Wayland session gets the portal even where Qt runs on XWayland (an X
    // grab there hears keys only while an X window has focus), and no
    // front application; an X11 session gets the key grab.
    void routesFollowTheSession()
    {
        const QByteArray type = qgetenv("XDG_SESSION_TYPE"), display = qgetenv("WAYLAND_DISPLAY");
        const auto restore = qScopeGuard([&] {
            qputenv("XDG_SESSION_TYPE", type);
            qputenv("WAYLAND_DISPLAY", display);
        });
        qputenv("XDG_SESSION_TYPE", "wayland");
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        QCOMPARE(shortcutRoute(sessionKind(), QStringLiteral("xcb")), ShortcutRoute::portal);
        QVERIFY(!makeFrontApp()->frontmost());
        qputenv("XDG_SESSION_TYPE", "x11");
        QCOMPARE(shortcutRoute(sessionKind(), QStringLiteral("xcb")), ShortcutRoute::keyGrab);
        QCOMPARE(shortcutRoute(sessionKind(), QStringLiteral("offscreen")), ShortcutRoute::none);
        // Through XWayland only in a Wayland session that has it, and never
        // against the user's own choice.
        QCOMPARE(preferredQtPlatform(SessionKind::wayland, false, true), QByteArray("xcb"));
        QVERIFY(preferredQtPlatform(SessionKind::wayland, true, true).isEmpty());
    }
};

QTEST_MAIN(TestFrontApp)

#include "test_frontapp.moc"
