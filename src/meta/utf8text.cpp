#include "meta/utf8text.h"

Utf8Text::Utf8Text(const QString &text)
{
    // QString::toUtf8 writes a lone surrogate as '?'; we keep the usual U+FFFD.
    const auto loneAt = [&text](qsizetype from) {
        for (qsizetype i = from; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (!c.isSurrogate())
                continue;
            if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
                ++i;
            else
                return i;
        }
        return qsizetype(-1);
    };
    qsizetype lone = loneAt(0);
    if (lone < 0) {
        m_utf8 = text.toUtf8();
        return;
    }
    QString repaired = text;
    for (; lone >= 0; lone = loneAt(lone + 1))
        repaired[lone] = QChar::ReplacementCharacter;
    m_utf8 = repaired.toUtf8();
}
