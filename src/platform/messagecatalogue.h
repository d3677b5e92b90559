#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Reading other programs' gettext translations, for names they put on disk
// in the session's language.

// The languages gettext would try, most specific first: LANGUAGE's list
// unless the locale is C/POSIX (then no translation at all), each as
// ll_CC@mod, ll_CC, ll@mod, ll.
QStringList messageLanguages();

// The translation of `msgid` (with or without a context) in a compiled
// gettext catalogue (.mo); empty when it has none or cannot be read.
QString catalogueLookup(const QString &path, const QByteArray &msgid);
