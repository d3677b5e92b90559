#include "platform/messagecatalogue.h"

#include <QFile>
#include <QtEndian>

#include <cstring>

QStringList messageLanguages()
{
    QString locale;
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = qEnvironmentVariable(name);
        if (!locale.isEmpty())
            break;
    }
    if (locale.isEmpty() || locale == QLatin1String("C") || locale.startsWith(QLatin1String("C."))
        || locale == QLatin1String("POSIX"))
        return {};
    QStringList wanted = qEnvironmentVariable("LANGUAGE").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (wanted.isEmpty())
        wanted = {locale};
    QStringList out;
    for (const QString &name : std::as_const(wanted)) {
        const qsizetype at = name.indexOf(QLatin1Char('@'));
        const QString modifier = at < 0 ? QString() : name.mid(at);
        const QString base = (at < 0 ? name : name.left(at)).section(QLatin1Char('.'), 0, 0);
        const QString language = base.section(QLatin1Char('_'), 0, 0);
        for (const QString &candidate : {base + modifier, base, language + modifier, language})
            if (!candidate.isEmpty() && !out.contains(candidate))
                out << candidate;
    }
    return out;
}

namespace {

quint32 moWord(const QByteArray &data, qsizetype at, bool swap)
{
    if (at < 0 || at + 4 > data.size())
        return 0;
    quint32 v;
    std::memcpy(&v, data.constData() + at, 4);
    return swap ? qbswap(v) : v;
}

} // namespace

QString catalogueLookup(const QString &path, const QByteArray &msgid)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > 64 * 1024 * 1024)
        return {};
    const QByteArray data = file.readAll();
    const quint32 magic = moWord(data, 0, false);
    const bool swap = magic == 0xde120495u;
    if (magic != 0x950412deu && !swap)
        return {};
    const quint32 count = moWord(data, 8, swap);
    const quint32 originals = moWord(data, 12, swap);
    const quint32 translations = moWord(data, 16, swap);
    for (quint32 i = 0; i < count; ++i) {
        const quint32 length = moWord(data, originals + 8 * qsizetype(i), swap);
        const quint32 offset = moWord(data, originals + 8 * qsizetype(i) + 4, swap);
        if (qsizetype(offset) + length > data.size())
            return {};
        const QByteArray original(data.constData() + offset, length);
        if (original != msgid && !original.endsWith('\x04' + msgid))
            continue;
        const quint32 tLength = moWord(data, translations + 8 * qsizetype(i), swap);
        const quint32 tOffset = moWord(data, translations + 8 * qsizetype(i) + 4, swap);
        if (qsizetype(tOffset) + tLength > data.size())
            return {};
        // Plural forms follow the first one after a NUL.
        QByteArray translated(data.constData() + tOffset, tLength);
        if (const qsizetype nul = translated.indexOf('\0'); nul >= 0)
            translated.truncate(nul);
        return QString::fromUtf8(translated);
    }
    return {};
}
