#pragma once

#include <QString>

// Trims spaces and tabs from both ends but keeps line breaks: what the shelf
// means by white space in search text and screenshot names.
inline bool isHorizontalSpace(QChar c) { return c == QLatin1Char('\t') || c.category() == QChar::Separator_Space; }

inline QString trimmedHorizontally(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isHorizontalSpace(text.at(begin)))
        ++begin;
    while (end > begin && isHorizontalSpace(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}
