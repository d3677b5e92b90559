// The front application on X11, against a virtual X server: the test runs
// itself again under xvfb-run on the xcb platform and checks there.

#include "platform/frontapp.h"
#include "support/sandbox.h"

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

const char *innerFlag = "--inside-x-server";

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return result;
}

xcb_window_t rootOf(xcb_connection_t *c) { return xcb_setup_roots_iterator(xcb_get_setup(c)).data->root; }

void setActiveWindow(xcb_connection_t *c, xcb_window_t window)
{
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, rootOf(c), atom(c, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1, &window);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: the change is in
}

xcb_window_t makeWindow(xcb_connection_t *c)
{
    const xcb_window_t window = xcb_generate_id(c);
    xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    return window;
}

} // namespace

class TestFrontApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesTheActiveWindowsApplication()
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            // Outside: run this same test again inside a virtual X server.
            const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
            if (xvfbRun.isEmpty())
                QSKIP("xvfb-run is not installed");
            QProcess inner;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
            inner.setProcessEnvironment(env);
            inner.setProcessChannelMode(QProcess::ForwardedChannels);
            inner.start(xvfbRun, {QStringLiteral("-a"), QCoreApplication::applicationFilePath(),
                                  QLatin1String(innerFlag)});
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

        auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        QVERIFY(x11);
        xcb_connection_t *ours = x11->connection();
        std::unique_ptr<FrontApp> front = makeFrontApp();

        // No window manager has named an active window yet.
        QVERIFY(!front->frontmost());

        // One of our own windows: ourselves.
        setActiveWindow(ours, makeWindow(ours));
        const std::optional<RunningApp> self = front->frontmost();
        QVERIFY(self);
        QCOMPARE(self->pid, QCoreApplication::applicationPid());

        // Another client's window, naming the sleeping process.
        xcb_connection_t *other = xcb_connect(nullptr, nullptr);
        QVERIFY(!xcb_connection_has_error(other));
        const xcb_window_t window = makeWindow(other);
        const uint32_t pid = uint32_t(sleeper.processId());
        xcb_change_property(other, XCB_PROP_MODE_REPLACE, window, atom(other, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
        xcb_change_property(other, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 14, "sleep\0Sleeper\0");
        setActiveWindow(other, window);
        const std::optional<RunningApp> app = front->frontmost();
        QVERIFY(app);
        QCOMPARE(app->pid, qint64(pid));
        QCOMPARE(app->name, std::optional<QString>(QStringLiteral("Sleeper")));
        QCOMPARE(app->path, std::optional<QString>(entry));

        xcb_disconnect(other);
        sleeper.kill();
        sleeper.waitForFinished();
    }
};

int main(int argc, char *argv[])
{
    // The inner run takes no test arguments of its own.
    const bool inside = argc > 1 && std::strcmp(argv[argc - 1], innerFlag) == 0;
    if (inside)
        --argc;
    QGuiApplication app(argc, argv);
    TestFrontApp test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_frontapp.moc"
