#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>

class Prefs;
class QNetworkAccessManager;
class QTimer;

// The anonymous daily usage count: at most one small POST a day of a random
// installation identifier, the program's version and the distribution's
// version, and nothing else. Off means off: nothing is sent and no
// identifier is kept. GUI thread only; the answer comes back on it too.
class Heartbeat : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 dayMs = 86400LL * 1000;
    static constexpr int checkIntervalMs = 21600 * 1000;
    static constexpr int timeoutMs = 15000;

    using Clock = std::function<qint64()>; // milliseconds since 1970

    // `endpoint` is fixed at build time for the program; tests give a
    // loopback server's address.
    Heartbeat(Prefs &prefs, QUrl endpoint, QString version, QString osVersion, Clock now = {},
              QObject *parent = nullptr);
    ~Heartbeat() override;

    // Sends if due, then checks every six hours.
    void start();
    bool enabled() const;
    // On: sends at once. Off: forgets the identifier and the last ping.
    void setEnabled(bool on);
    // The stored identifier, made (a lower-case UUID) and stored on first need.
    QString installID();
    // Sends when on, and when due unless `force`.
    void send(bool force);

    // The major and minor version of the distribution, from an os-release
    // file ("12.0", "24.04", "39.0": ".0" when the distribution's number has
    // no minor); empty when it says none.
    static QString distributionVersion(const QString &osReleasePath = QStringLiteral("/etc/os-release"));

Q_SIGNALS:
    // A ping was answered (or failed); `accepted` only for status 200.
    void answered(bool accepted);

private:
    Prefs &m_prefs;
    QUrl m_endpoint;
    QString m_version;
    QString m_os;
    Clock m_now;
    QNetworkAccessManager *m_network;
    QTimer *m_timer = nullptr;
    bool m_inFlight = false;
};
