#include "app/logincommand.h"

#include "system/loginitem.h"

#include <cstdio>

namespace {

void say(const QString &line)
{
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

int runLoginCommand(LoginItem &item, const QString &argument)
{
    if (argument == QLatin1String("on")) {
        item.setAutoRegister(true);
        QString error;
        if (!item.registerEntry(&error)) {
            say(QStringLiteral("error: ") + error);
            return 1;
        }
    } else if (argument == QLatin1String("off")) {
        item.turnOff();
    }
    const LoginItem::Status status = item.status();
    say(status == LoginItem::enabled ? QStringLiteral("launch at login: enabled")
                                     : QStringLiteral("launch at login: disabled (%1)").arg(int(status)));
    return 0;
}
