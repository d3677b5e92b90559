#include "support/sandbox.h"
#include "system/heartbeat.h"
#include "system/prefs.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// A loopback HTTP server that answers every request with `status` and keeps
// the bodies it was sent.
class PingServer : public QObject
{
public:
    int status = 200;
    QList<QByteArray> bodies;
    QList<QByteArray> heads;

    PingServer()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *client = m_server.nextPendingConnection()) {
                auto *buffer = new QByteArray;
                connect(client, &QTcpSocket::disconnected, client, [client, buffer] {
                    delete buffer;
                    client->deleteLater();
                });
                connect(client, &QTcpSocket::readyRead, this, [this, client, buffer] {
                    *buffer += client->readAll();
                    const qsizetype end = buffer->indexOf("\r\n\r\n");
                    if (end < 0)
                        return;
                    const QByteArray head = buffer->left(end);
                    const QRegularExpression lengthLine("content-length:\\s*(\\d+)",
                                                        QRegularExpression::CaseInsensitiveOption);
                    const qsizetype length = lengthLine.match(QString::fromLatin1(head)).captured(1).toLongLong();
                    if (buffer->size() < end + 4 + length)
                        return;
                    heads.append(head);
                    bodies.append(buffer->mid(end + 4, length));
                    buffer->clear();
                    client->write("HTTP/1.1 " + QByteArray::number(status)
                                  + " X\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                    client->disconnectFromHost();
                });
            }
        });
    }
    QUrl url() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/projects/Brindlewick/ping").arg(m_server.serverPort()));
    }

private:
    QTcpServer m_server;
};

} // namespace

class TestHeartbeat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // At most one ping a day, of exactly the three members; only a 200 counts.
    void pingsOnceADayAndOnlyAnAcceptedPingCounts()
    {
        Sandbox box;
        Prefs prefs(box.path("prefs.conf"));
        PingServer server;
        qint64 now = 1'800'000'000'000;
        Heartbeat beat(prefs, server.url(), "0.1.0", "12.0", [&] { return now; });
        QSignalSpy answered(&beat, &Heartbeat::answered);

        beat.start(); // first launch: nothing stored, so it is due
        QVERIFY(answered.wait(10000));
        QCOMPARE(server.bodies.size(), 1);
        QVERIFY(server.heads.first().toLower().contains("content-type: application/json"));
        const QJsonObject body = QJsonDocument::fromJson(server.bodies.first()).object();
        QCOMPARE(body.keys(), (QStringList{"id", "os", "v"}));
        const QString id = body.value("id").toString();
        QVERIFY(QRegularExpression("^[0-9a-f]{8}-([0-9a-f]{4}-){3}[0-9a-f]{12}$").match(id).hasMatch());
        QCOMPARE(prefs.text(PrefKey::installID), id);
        QCOMPARE(body.value("os").toString(), "12.0");

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
    }

    // Off forgets who we are and sends nothing; on sends at once, anew.
    void offForgetsAndOnSendsAtOnce()
    {
        Sandbox box;
        Prefs prefs(box.path("prefs.conf"));
        PingServer server;
        Heartbeat beat(prefs, server.url(), QString(), "24.04");
        QSignalSpy answered(&beat, &Heartbeat::answered);
        beat.send(true);
        QVERIFY(answered.wait(10000));
        const QString first = prefs.text(PrefKey::installID);

        beat.setEnabled(false);
        QVERIFY(!prefs.contains(PrefKey::installID) && !prefs.contains(PrefKey::heartbeatLast));
        beat.start();
        beat.send(true);
        QVERIFY(!answered.wait(300));
        QVERIFY(!prefs.contains(PrefKey::installID));

        beat.setEnabled(true);
        QVERIFY(answered.wait(10000));
        QCOMPARE(server.bodies.size(), 2);
        const QJsonObject body = QJsonDocument::fromJson(server.bodies.last()).object();
        QVERIFY(body.value("id").toString() != first);
        QCOMPARE(body.value("v").toString(), QString());
    }

    void distributionVersionIsMajorAndMinor_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("version");
        QTest::newRow("three parts") << QByteArray("NAME=\"Ubuntu\"\nVERSION_ID=\"22.04.3\"\n") << "22.04";
        QTest::newRow("major only, unquoted") << QByteArray("VERSION_ID=12\nID=debian\n") << "12.0";
        QTest::newRow("none") << QByteArray("NAME=Arch Linux\n") << "";
    }
    void distributionVersionIsMajorAndMinor()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, version);
        Sandbox box;
        const QString path = box.path("os-release");
        Sandbox::writeFile(path, file);
        QCOMPARE(Heartbeat::distributionVersion(path), version);
    }
};

QTEST_MAIN(TestHeartbeat)
#include "test_heartbeat.moc"
