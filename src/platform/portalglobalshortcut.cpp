// The global shortcut on Wayland, through the desktop portal's
// GlobalShortcuts interface: create a session, bind one shortcut with the
// preferred trigger, then listen for Activated. The desktop may ask the user
// to confirm or change the trigger; whatever it decides, we only react to
// activations of our shortcut id. Every failure ends the attempt silently.

#include "files/logcategories.h"
#include "platform/globalshortcut.h"

#include <QCoreApplication>
#include <QDBusAbstractInterface>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QKeySequence>
#include <QPointer>
#include <QUuid>

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutId = QStringLiteral("toggle-shelf");

struct PortalShortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(PortalShortcut)

namespace {

// Proxies whose declared signals QtDBus connects to the bus by name.
class PortalRequest : public QDBusAbstractInterface
{
    Q_OBJECT
public:
    PortalRequest(const QString &path, QObject *parent)
        : QDBusAbstractInterface(portalService, path, "org.freedesktop.portal.Request", QDBusConnection::sessionBus(),
                                 parent)
    {}
Q_SIGNALS:
    void Response(uint response, const QVariantMap &results);
};

class GlobalShortcutsPortal : public QDBusAbstractInterface
{
    Q_OBJECT
public:
    explicit GlobalShortcutsPortal(QObject *parent)
        : QDBusAbstractInterface(portalService, portalPath, "org.freedesktop.portal.GlobalShortcuts",
                                 QDBusConnection::sessionBus(), parent)
    {}
Q_SIGNALS:
    void Activated(const QDBusObjectPath &session, const QString &id, qulonglong timestamp, const QVariantMap &options);
};

QString newToken() { return QStringLiteral("brindlewick") + QUuid::createUuid().toString(QUuid::Id128); }

// Where the portal will publish the answer to a request made with `token`.
QString requestPath(const QString &token)
{
    QString sender = QDBusConnection::sessionBus().baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return portalPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

// "ALT+SHIFT+s": the trigger notation of the freedesktop shortcuts format.
QString triggerText(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QStringList parts;
    if (modifiers & Qt::ControlModifier)
        parts << QStringLiteral("CTRL");
    if (modifiers & Qt::AltModifier)
        parts << QStringLiteral("ALT");
    if (modifiers & Qt::ShiftModifier)
        parts << QStringLiteral("SHIFT");
    if (modifiers & Qt::MetaModifier)
        parts << QStringLiteral("LOGO");
    parts << QKeySequence(key).toString(QKeySequence::PortableText).toLower();
    return parts.join(QLatin1Char('+'));
}

class PortalGlobalShortcut final : public QObject, public GlobalShortcut
{
public:
    void grab(Qt::Key key, Qt::KeyboardModifiers modifiers, std::function<void()> onPress) override
    {
        if (!QDBusConnection::sessionBus().isConnected())
            return;
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
        m_onPress = std::move(onPress);
        m_trigger = triggerText(key, modifiers);
        // No presence check first: a desktop without the interface answers
        // CreateSession with an error, and nothing further happens.
        m_portal = new GlobalShortcutsPortal(this);
        connect(m_portal, &GlobalShortcutsPortal::Activated, this,
                [this](const QDBusObjectPath &session, const QString &id, qulonglong, const QVariantMap &) {
                    if (session.path() == m_session && id == shortcutId && m_onPress)
                        m_onPress();
                });
        // Portals cannot tell which application a program outside a sandbox
        // is; newer ones take its ID here, before any other call, and so
        // file the shortcut under our desktop entry. Older ones answer
        // with an error, which changes nothing.
        QDBusConnection::sessionBus().asyncCall(
            QDBusMessage::createMethodCall(portalService, portalPath,
                                           QStringLiteral("org.freedesktop.host.portal.Registry"),
                                           QStringLiteral("Register"))
            << QStringLiteral(BRINDLEWICK_APP_ID) << QVariantMap());
        const QString token = newToken();
        request(token, [this](const QVariantMap &results) {
            // A string in the documented interface; some versions send an
            // object path.
            const QVariant handle = results.value(QStringLiteral("session_handle"));
            m_session = handle.metaType() == QMetaType::fromType<QDBusObjectPath>()
                            ? handle.value<QDBusObjectPath>().path()
                            : handle.toString();
            if (!m_session.isEmpty())
                bind();
        });
        const QVariantMap options{{QStringLiteral("handle_token"), token},
                                  {QStringLiteral("session_handle_token"), newToken()}};
        m_portal->asyncCall(QStringLiteral("CreateSession"), options);
    }

private:
    void bind()
    {
        const QString token = newToken();
        request(token, [](const QVariantMap &) { qCInfo(lcShortcut) << "the portal bound the shortcut"; });
        const QList<PortalShortcut> shortcuts{
            {shortcutId,
             {{QStringLiteral("description"),
               QCoreApplication::translate("GlobalShortcut", "Open or hide the Brindlewick shelf")},
              {QStringLiteral("preferred_trigger"), m_trigger}}}};
        m_portal->asyncCall(QStringLiteral("BindShortcuts"), QVariant::fromValue(QDBusObjectPath(m_session)),
                            QVariant::fromValue(shortcuts), QString(),
                            QVariantMap{{QStringLiteral("handle_token"), token}});
    }

    // Listens on the request object before the call is made, so the answer
    // cannot arrive unheard. Only a successful answer (0) goes on.
    void request(const QString &token, std::function<void(const QVariantMap &)> onSuccess)
    {
        auto *pending = new PortalRequest(requestPath(token), this);
        connect(pending, &PortalRequest::Response, this,
                [pending, onSuccess](uint response, const QVariantMap &results) {
                    pending->deleteLater();
                    if (response == 0)
                        onSuccess(results);
                    else
                        qCWarning(lcShortcut) << "the portal refused the shortcut, response" << response;
                });
    }

    std::function<void()> m_onPress;
    QString m_trigger;
    QString m_session;
    QPointer<GlobalShortcutsPortal> m_portal;
};

} // namespace

std::unique_ptr<GlobalShortcut> makePortalGlobalShortcut() { return std::make_unique<PortalGlobalShortcut>(); }

#include "portalglobalshortcut.moc"
