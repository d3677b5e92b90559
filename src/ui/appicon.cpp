#include "ui/appicon.h"

QIcon appIcon()
{
    static const QIcon icon = QIcon::fromTheme(QStringLiteral(BRINDLEWICK_APP_ID),
                                               QIcon(QStringLiteral(":/brindlewick/app/brindlewick.svg")));
    return icon;
}
