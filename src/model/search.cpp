#include "model/shelf.h"
#include "model/whitespace.h"

#include "meta/metastore.h"

#include <QLocale>

namespace {

// Case folded the way the user's language does it ("STRASSE" finds "Straße",
// a Turkish "I" is not an "i"), accents kept: "cafe" does not find "Café".
class Matcher
{
public:
    explicit Matcher(const QString &query) : m_query(fold(query)) {}
    bool matches(const QString &text) const { return fold(text).contains(m_query); }

private:
    QString fold(const QString &text) const
    {
        return m_locale.toLower(m_locale.toUpper(text.normalized(QString::NormalizationForm_C)));
    }

    QLocale m_locale;
    QString m_query;
};

} // namespace

QList<QUrl> Shelf::visible() const
{
    const QString query = trimmedHorizontally(m_query);
    if (query.isEmpty())
        return m_items;
    const Matcher matcher(query);
    QList<QUrl> kept;
    for (const QUrl &url : m_items) {
        const QString name = url.fileName();
        if (matcher.matches(name)) {
            kept.append(url);
            continue;
        }
        if (!m_meta)
            continue;
        // Text recognised before the file last changed is another picture's.
        const std::optional<FileMeta> meta = m_meta->meta(url);
        if (meta && meta->hasTextFor(modified(url)) && !meta->text->isEmpty()
            && matcher.matches(meta->text->toString()))
            kept.append(url);
    }
    return kept;
}
