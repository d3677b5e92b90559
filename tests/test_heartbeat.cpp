#include "support/sandbox.h"
#include "system/heartbeat.h"
#include "system/prefs.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// A loopback HTTP server that answers every request with `status` once its
// JSON body is in, and keeps the bodies.
class PingServer : public QTcpServer
{
public:
    int status = 200;
    QList<QJsonObject> bodies;

    PingServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *client = nextPendingConnection()) {
                connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
                connect(client, &QTcpSocket::readyRead, this, [this, client] {
                    const QByteArray got = client->property("got").toByteArray() + client->readAll();
                    client->setProperty("got", got);
                    const QJsonDocument body = QJsonDocument::fromJson(got.mid(got.indexOf("\r\n\r\n") + 4));
                    if (!body.isObject())
                        return;
                    bodies.append(body.object());
                    client->write("HTTP/1.1 " + QByteArray::number(status)
                                  + " X\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                    client->disconnectFromHost();
                });
            }
        });
    }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/ping").arg(serverPort())); }
};

} // namespace

class TestHeartbeat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // At most one ping a day, of exactly the three members; only a 200
    // counts. Off forgets who we are and sends nothing; on sends at once, anew.
    void pingsOnceADayAndOffForgets()
    {
        Sandbox box;
        Prefs prefs(box.path("prefs.conf"));
        PingServer server;
        qint64 now = 1'800'000'000'000;
        Heartbeat beat(prefs, server.url(), "0.1.0", "12.0", [&] { return now; });
        QSignalSpy answered(&beat, &Heartbeat::answered);

        beat.start(); // first launch: nothing stored, so it is due
        QVERIFY(answered.wait(10000));
        const QJsonObject body = server.bodies.value(0);
        QCOMPARE(body.keys(), (QStringList{"id", "os", "v"}));
        QVERIFY(body.value("os") == "12.0" && body.value("v") == "0.1.0");
        const QString id = body.value("id").toString();
        QVERIFY(!id.isEmpty() && prefs.text(PrefKey::installID) == id);

        now += 23 * 3600 * 1000LL; // not due yet
        beat.send(false);
        QVERIFY(!answered.wait(300));
        now += 3600 * 1000LL + 1000;
        server.status = 500; // due, but refused: tried again at the next check
        beat.send(false);
        QVERIFY(answered.wait(10000));
        QCOMPARE(answered.last().first().toBool(), false);
        server.status = 200;
        beat.send(false);
        QVERIFY(answered.wait(10000));
        QCOMPARE(server.bodies.size(), 3);
        QCOMPARE(prefs.number(PrefKey::heartbeatLast, 0), double(now) / 1000.0);

        beat.setEnabled(false);
        QVERIFY(!prefs.contains(PrefKey::installID) && !prefs.contains(PrefKey::heartbeatLast));
        beat.start();
        beat.send(true);
        QVERIFY(!answered.wait(300));
        QVERIFY(!prefs.contains(PrefKey::installID));
        beat.setEnabled(true);
        QVERIFY(answered.wait(10000));
        QCOMPARE(server.bodies.size(), 4);
        QVERIFY(server.bodies.last().value("id").toString() != id);
    }

    // Debian 12 is "12.0": major and minor, ".0" where there is no minor.
    void distributionVersionIsMajorAndMinor()
    {
        Sandbox box;
        const QString path = box.path("os-release");
        const QList<std::pair<QByteArray, QString>> cases = {
            {"NAME=\"Ubuntu\"\nVERSION_ID=\"22.04.3\"\n", "22.04"},
            {"VERSION_ID=12\nID=debian\n", "12.0"},
            {"NAME=Arch Linux\n", ""},
        };
        for (const auto &[file, version] : cases) {
            Sandbox::writeFile(path, file);
            QCOMPARE(Heartbeat::distributionVersion(path), version);
        }
    }
};

QTEST_MAIN(TestHeartbeat)
#include "test_heartbeat.moc"
