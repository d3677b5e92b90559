#include "meta/metastore.h"
#include "model/shelf.h"
#include "system/capturelocation.h"
#include "system/prefs.h"

#include <QApplication>
#include <cstdio>

namespace {

bool hasDisplay()
{
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY")
           || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace

int main(int argc, char *argv[])
{
    if (!hasDisplay()) {
        std::fputs("Brindlewick needs a desktop session, and this one has no display.\n"
                   "To try it without one, run it under Xvfb as the README's \"Running headless\" "
                   "section shows.\n",
                   stderr);
        return 1;
    }
    QApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("Brindlewick"));
    app.setQuitOnLastWindowClosed(false);

    Shelf shelf(Prefs::shared(), CaptureLocation::shared(), &MetaStore::shared());
    return app.exec();
}
