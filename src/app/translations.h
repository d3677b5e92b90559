#pragma once

#include <QLocale>

class QCoreApplication;

namespace Translations {

// Installs the program's catalogue for `locale` (embedded at build time) and
// Qt's own for its dialogs' buttons, where Debian's qt6-translations-l10n
// has one. English needs neither. Returns whether ours was found.
// BRINDLEWICK_PSEUDO_LOCALE=1 installs the pseudo catalogue instead.
bool install(QCoreApplication &app, const QLocale &locale);

} // namespace Translations
