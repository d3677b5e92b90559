#include "support/sandbox.h"
#include "system/heartbeat.h"
#include "system/prefs.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

class TestHeartbeat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // At most one ping a day, of exactly the three members; only a 200
    // counts. Off forgets who we are and sends nothing; on sends at once, anew.
    void pingsOnceADayAndOffForgets()
    {
        // A loopback server answers each request with `status` once its JSON
        // body is in, and keeps the bodies.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        int status = 200;
        QList<QJsonObject> bodies;
        connect(&server, &QTcpServer::newConnection, this, [&] {
            while (QTcpSocket *client = server.nextPendingConnection()) {
                connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
                connect(client, &QTcpSocket::readyRead, client, [&, client] {
                    const QByteArray got = client->peek(client->bytesAvailable()); // all so far
                    const QJsonDocument body = QJsonDocument::fromJson(got.mid(got.indexOf("\r\n\r\n") + 4));
                    if (!body.isObject())
                        return;
                    bodies.append(body.object());
                    client->write("HTTP/1.1 " + QByteArray::number(status) + " X\r\nConnection: close\r\n\r\n");
                    client->disconnectFromHost();
                });
            }
        });
        Prefs prefs(QDir::home().filePath("prefs.conf"));
        qint64 now = 1'800'000'000'000;
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/ping").arg(server.serverPort()));
        Heartbeat beat(prefs, url, "0.1.0", "12.0", [&] { return now; });
        QSignalSpy answered(&beat, &Heartbeat::answered);

        beat.start(); // first launch: nothing stored, so it is due
        QVERIFY(answered.wait(10000));
        const QString id = prefs.text(PrefKey::installID);
        QCOMPARE(bodies.value(0), QJsonObject({{"id", id}, {"os", "12.0"}, {"v", "0.1.0"}}));

        now += 23 * 3600 * 1000LL; // not due yet
        beat.send(false);
        QVERIFY(!answered.wait(300));
        now += 3600 * 1000LL + 1000;
        status = 500; // due, but refused: tried again at the next check
        beat.send(false);
        QVERIFY(answered.wait(10000) && !answered.last().first().toBool());
        status = 200;
        beat.send(false);
        QVERIFY(answered.wait(10000));
        QCOMPARE(bodies.size(), 3);
        QCOMPARE(prefs.number(PrefKey::heartbeatLast, 0), double(now) / 1000.0);

        beat.setEnabled(false);
        beat.start();
        beat.send(true);
        QVERIFY(!answered.wait(300));
        QVERIFY(!prefs.contains(PrefKey::installID) && !prefs.contains(PrefKey::heartbeatLast));
        beat.setEnabled(true);
        QVERIFY(answered.wait(10000));
        QVERIFY(bodies.size() == 4 && bodies.last().value("id").toString() != id);

        // Debian 12 is "12.0": major and minor, ".0" where there is no minor.
        const QString path = QDir::home().filePath("os-release");
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
