#pragma once

#include <QByteArray>
#include <QString>

#include <utility>

// Text held as the UTF-8 it is stored in. A store of 100,000 recognised texts
// then loads without decoding 60 MB into twice as much UTF-16; only the texts
// a search or a view looks at are decoded, when it does.
class Utf8Text
{
public:
    Utf8Text() = default;
    // Implicit, so code that has a QString assigns it as before. A lone
    // surrogate becomes U+FFFD, never bytes that are not UTF-8.
    Utf8Text(const QString &text);

    // `utf8` must be valid UTF-8 (as a validating parser hands it over).
    static Utf8Text fromValidUtf8(QByteArray utf8)
    {
        Utf8Text text;
        text.m_utf8 = std::move(utf8);
        return text;
    }

    QString toString() const { return QString::fromUtf8(m_utf8); }
    const QByteArray &utf8() const { return m_utf8; }
    bool isEmpty() const { return m_utf8.isEmpty(); }

    friend bool operator==(const Utf8Text &, const Utf8Text &) = default;
    friend bool operator==(const Utf8Text &a, const QString &b) { return a.toString() == b; }

private:
    QByteArray m_utf8;
};
