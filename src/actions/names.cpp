#include "actions/names.h"

#include "actions/actionrunner.h"
#include "actions/prompts.h"
#include "files/localpaths.h"
#include "files/safefiles.h"
#include "model/shelf.h"
#include "model/whitespace.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>

namespace ScreenshotNames {

namespace {

// As the screenshot tools of 21 languages write them. Every entry ends in one
// space except the Chinese one, which is followed directly by the date.
const QList<QString> kPrefixes = {
    QStringLiteral("Screenshot "),
    QStringLiteral("Screen Shot "),
    QStringLiteral("Captur\u0103 de ecran "),
    QStringLiteral("Bildschirmfoto "),
    QStringLiteral("Capture d'\u00E9cran "),
    QStringLiteral("Captura de pantalla "),
    QStringLiteral("Schermata "),
    QStringLiteral("Schermafbeelding "),
    QStringLiteral("Captura de ecr\u00E3 "),
    QStringLiteral("Captura de Tela "),
    QStringLiteral("Sk\u00E4rmavbild "),
    QStringLiteral("Skjermbilde "),
    QStringLiteral("Sk\u00E6rmbillede "),
    QStringLiteral("N\u00E4ytt\u00F6kuva "),
    QStringLiteral("Zrzut ekranu "),
    QStringLiteral("Sn\u00EDmek obrazovky "),
    QStringLiteral("\u0421\u043D\u0438\u043C\u043E\u043A \u044D\u043A\u0440\u0430\u043D\u0430 "),
    QStringLiteral("Ekran Resmi "),
    QStringLiteral("\u30B9\u30AF\u30EA\u30FC\u30F3\u30B7\u30E7\u30C3\u30C8 "),
    QStringLiteral("\u622A\u5C4F"),
    QStringLiteral("\uC2A4\uD06C\uB9B0\uC0F7 "),
};

const QList<QString> kSeparators = {
    QStringLiteral(" at "),   QStringLiteral(" um "), QStringLiteral(" \u00E0 "),  QStringLiteral(" a las "),
    QStringLiteral(" alle "), QStringLiteral(" om "), QStringLiteral(" \u00E0s "), QStringLiteral(" kl. "),
    QStringLiteral(" klo "),  QStringLiteral(" o "),  QStringLiteral(" \u0432 "),
};

// Names and tables are compared in one normal form, so a name written with
// decomposed accents matches the composed tables and the other way round.
QList<QString> composed(const QList<QString> &texts)
{
    QList<QString> result;
    for (const QString &text : texts)
        result.append(text.normalized(QString::NormalizationForm_C));
    return result;
}

} // namespace

const QList<QString> &prefixes() { return kPrefixes; }
const QList<QString> &separators() { return kSeparators; }

QString cleanName(const QString &fileName)
{
    static const QList<QString> prefixTable = composed(kPrefixes);
    static const QList<QString> separatorTable = composed(kSeparators);

    const QString original = fileName.normalized(QString::NormalizationForm_C);
    QString name = original;
    for (const QString &prefix : prefixTable) {
        if (name.startsWith(prefix)) {
            name.remove(0, prefix.size());
            break;
        }
    }
    for (const QString &separator : separatorTable)
        name.replace(separator, QStringLiteral(" "));
    name = trimmedHorizontally(name);
    // Unchanged up to canonical equivalence: keep the name's own spelling.
    return name == original ? fileName : name;
}

FileActions::Moves cleanUpNames(const QList<QUrl> &files)
{
    FileActions::Moves renamed;
    for (const QUrl &file : files) {
        const QFileInfo info(LocalPaths::localPath(file));
        const QString oldName = info.fileName();
        const QString newName = cleanName(oldName);
        if (newName == oldName)
            continue;
        const QString folder = info.absolutePath();
        if (!SafeFiles::isValidEntryName(newName, folder)
            || (newName.startsWith(QLatin1Char('.')) && !oldName.startsWith(QLatin1Char('.'))))
            continue;
        const QString placed = SafeFiles::moveUnique(info.absoluteFilePath(), folder + QLatin1Char('/') + newName);
        if (!placed.isEmpty())
            renamed.append({file, LocalPaths::fileUrl(placed)});
    }
    return renamed;
}

void confirmCleanUp(const Shelf &shelf, ConfirmPrompt &prompt, ActionRunner &runner, QObject *requester,
                    std::function<void(std::optional<qint64>)> done)
{
    const QList<QUrl> items = shelf.items();
    ConfirmRequest request;
    // Always "screenshots": the count is of the listing, not of the names
    // that will change.
    request.message =
        QCoreApplication::translate("ScreenshotNames", "Clean up the names of %L1 screenshots?").arg(items.size());
    // Split after the quote mark: lupdate reads hex digits after \u201C as part of the escape.
    request.informativeText = QCoreApplication::translate(
        "ScreenshotNames", "\u201CScreenshot 2026-10-08 at 05.12.49.png\u201D becomes \u201C"
                           "2026-10-08 05.12.49.png\u201D. "
                           "Only files in the current folder are renamed.");
    request.confirmButton = QCoreApplication::translate("ScreenshotNames", "Clean Up");
    request.cancelButton = QCoreApplication::translate("ScreenshotNames", "Cancel");
    QPointer<const Shelf> source(&shelf);
    QPointer<ActionRunner> worker(&runner);
    QPointer<QObject> asker(requester);
    const bool hasRequester = requester != nullptr;
    prompt.confirm(request, [source, worker, asker, hasRequester, done](bool confirmed) {
        if (hasRequester && !asker)
            return;
        if (!confirmed || !source || !worker) {
            done(std::nullopt);
            return;
        }
        // Scans go on while the alert is open: take the listing as it is now.
        const QList<QUrl> files = source->items();
        worker->run(
            [files] {
                FileWorkResult result;
                result.moves = cleanUpNames(files);
                result.count = result.moves.size();
                return result;
            },
            asker.data(), [done](const FileWorkResult &result) { done(result.count); });
    });
}

QString resultText(qint64 renamed)
{
    return QCoreApplication::translate("ScreenshotNames", "Renamed %L1").arg(renamed);
}

} // namespace ScreenshotNames
