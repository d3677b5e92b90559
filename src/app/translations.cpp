#include "app/translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace Translations {

bool install(QCoreApplication &app, const QLocale &locale)
{
    // A developer's run in the pseudo catalogue (accented, longer texts):
    // never picked by a language name, so no desktop can ask for it.
    if (qEnvironmentVariableIntValue("BRINDLEWICK_PSEUDO_LOCALE") == 1) {
        auto *pseudo = new QTranslator(&app);
        if (pseudo->load(QStringLiteral(":/brindlewick/pseudo/brindlewick_pseudo.qm"))) {
            QCoreApplication::installTranslator(pseudo);
            return true;
        }
        delete pseudo;
    }
    // The UI languages in the person's order (LANGUAGE first, then
    // LC_MESSAGES/LANG); English is built in, so one before any catalogue
    // of ours wins. load() also tries the shorter name: de_AT, then de.
    for (QString language : locale.uiLanguages()) {
        language.replace(QLatin1Char('-'), QLatin1Char('_'));
        if (language == QLatin1String("C") || language.startsWith(QLatin1String("en")))
            return false;
        auto *ours = new QTranslator(&app);
        if (!ours->load(QStringLiteral("brindlewick_") + language, QStringLiteral(":/brindlewick/translations"))
            || ours->language().isEmpty()) {
            delete ours;
            continue;
        }
        QCoreApplication::installTranslator(ours);
        // Qt's own texts (a dialog's buttons), where Debian's
        // qt6-translations-l10n has them.
        auto *qt = new QTranslator(&app);
        if (qt->load(QStringLiteral("qtbase_") + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
            QCoreApplication::installTranslator(qt);
        else
            delete qt;
        return true;
    }
    return false;
}

} // namespace Translations
