#include "system/heartbeat.h"

#include "files/logcategories.h"
#include "system/prefs.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>
#include <QTimer>
#include <QUuid>

Heartbeat::Heartbeat(Prefs &prefs, QUrl endpoint, QString version, QString osVersion, Clock now, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_endpoint(std::move(endpoint)), m_version(std::move(version)),
      m_os(std::move(osVersion)),
      m_now(now ? std::move(now) : Clock([] { return QDateTime::currentMSecsSinceEpoch(); })),
      m_network(new QNetworkAccessManager(this))
{}

Heartbeat::~Heartbeat() = default;

void Heartbeat::start()
{
    send(false);
    if (!m_timer) {
        m_timer = new QTimer(this);
        // Coarse: a few minutes either way cost nothing and spare wake-ups.
        m_timer->setTimerType(Qt::VeryCoarseTimer);
        m_timer->setInterval(checkIntervalMs);
        connect(m_timer, &QTimer::timeout, this, [this] { send(false); });
    }
    m_timer->start();
}

bool Heartbeat::enabled() const { return m_prefs.flag(PrefKey::heartbeatEnabled, true); }

void Heartbeat::setEnabled(bool on)
{
    m_prefs.setValue(PrefKey::heartbeatEnabled, on);
    if (on) {
        send(true);
    } else {
        m_prefs.remove(PrefKey::installID);
        m_prefs.remove(PrefKey::heartbeatLast);
    }
}

QString Heartbeat::installID()
{
    QString id = m_prefs.text(PrefKey::installID);
    if (id.isEmpty()) {
        id = QUuid::createUuid().toString(QUuid::WithoutBraces).toLower();
        m_prefs.setValue(PrefKey::installID, id);
    }
    return id;
}

void Heartbeat::send(bool force)
{
    if (!enabled() || m_inFlight)
        return;
    const double last = m_prefs.number(PrefKey::heartbeatLast, 0);
    if (!force && double(m_now()) / 1000.0 - last <= double(dayMs) / 1000.0)
        return;
    const QJsonObject body{
        {QStringLiteral("id"), installID()}, {QStringLiteral("v"), m_version}, {QStringLiteral("os"), m_os}};
    QNetworkRequest request(m_endpoint);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(timeoutMs);
    m_inFlight = true;
    qCDebug(lcPing) << "sending the usage ping to" << m_endpoint;
    QNetworkReply *reply = m_network->post(request, QJsonDocument(body).toJson(QJsonDocument::Compact));
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        m_inFlight = false;
        const bool accepted = reply->error() == QNetworkReply::NoError
                              && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200;
        if (!accepted)
            qCInfo(lcPing) << "the usage ping failed:" << reply->errorString();
        // Switched off while the ping was on its way: nothing is kept.
        if (accepted && enabled())
            m_prefs.setValue(PrefKey::heartbeatLast, double(m_now()) / 1000.0);
        Q_EMIT answered(accepted);
    });
}

QString Heartbeat::distributionVersion(const QString &osReleasePath)
{
    QFile file(osReleasePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression versionLine(QStringLiteral("^VERSION_ID=\"?([^\"\\n]*)\"?\\s*$"),
                                                QRegularExpression::MultilineOption);
    const QString id = versionLine.match(QString::fromUtf8(file.read(64 * 1024))).captured(1);
    if (id.isEmpty())
        return id;
    // Major and minor only: "22.04.3" is sent as "22.04", and Debian's "12"
    // (no minor in its number) as "12.0".
    const QString majorMinor = id.section(QLatin1Char('.'), 0, 1);
    return majorMinor.contains(QLatin1Char('.')) ? majorMinor : majorMinor + QStringLiteral(".0");
}
