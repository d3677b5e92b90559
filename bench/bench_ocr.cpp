// Text recognition: seconds per image and character error rate of our
// recognizer against the tesseract command line, on screenshot-like images
// with known text, run image by image in the same go.
//
//   bench_ocr DIR             generate the corpus in DIR (if missing) and compare
//   bench_ocr DIR --ablate    our recognizer only, with each preprocessing step off
//       --only=NAME,...       only those variants (and ours)
//       --set=VAR=VALUE,...   one more variant with those Tesseract variables set
//   --images=PART             only the images whose file name contains PART (1x-light, code-)
//   --verbose                 print the recognised text of every image
//
// Needs QT_QPA_PLATFORM=offscreen (fonts) and `tesseract` on PATH.

#include "platform/tesseractrecognizer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QMap>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

double cpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

struct Theme
{
    QString name;
    QColor ground, side, text, dim, accent, keyword, string, selection, selectionText;
};

const Theme light{QStringLiteral("light"), QColor(0xffffff), QColor(0xf2f2f4), QColor(0x1d1d1f), QColor(0x6e6e73),
                  QColor(0x0a64d8),        QColor(0xad3da4), QColor(0xc41a16), QColor(0x0a64d8), QColor(0xffffff)};
const Theme dark{QStringLiteral("dark"), QColor(0x1e1e1e), QColor(0x2a2a2c), QColor(0xdcdcdc), QColor(0x9a9a9e),
                 QColor(0x4ea1ff),       QColor(0xc586c0), QColor(0xce9178), QColor(0x264f78), QColor(0xffffff)};

const QStringList sidebarWords = {
    QStringLiteral("General"),       QStringLiteral("Appearance"), QStringLiteral("Shortcuts"),
    QStringLiteral("Storage"),       QStringLiteral("Privacy"),    QStringLiteral("Downloads"),
    QStringLiteral("Notifications"), QStringLiteral("Accounts"),   QStringLiteral("Updates")};

const QStringList uiSentences = {
    QStringLiteral("Save screenshots to the Home folder"),
    QStringLiteral("Show a preview card after each capture"),
    QStringLiteral("Keep screenshots for 30 days, then move them to Archive"),
    QStringLiteral("Recognize text only when you ask for it"),
    QStringLiteral("Open the shelf with Alt+Shift+S from any application"),
    QStringLiteral("Send one anonymous usage ping a day"),
    QStringLiteral("Your changes are saved automatically."),
    QStringLiteral("Last backup: Tuesday, 14 March 2023 at 09:41"),
    QStringLiteral("Storage used: 12.4 GB of 256 GB (4.8%)"),
    QStringLiteral("Invoice #20931 was paid by Margaret Lindqvist"),
    QStringLiteral("Meeting moved to Thursday at 3:30 pm in room B-204"),
    QStringLiteral("Download failed: the server returned error 503"),
    QStringLiteral("Connected to office-wifi (5 GHz, channel 44)"),
    QStringLiteral("Battery: 87% remaining, about 6 hours left"),
    QStringLiteral("The quick brown fox jumps over the lazy dog"),
    QStringLiteral("Please review the attached quarterly report before Friday."),
    QStringLiteral("Reminder: renew the domain before it expires on June 2"),
    QStringLiteral("Flight LH 1832 departs from gate A17 at 18:05"),
    QStringLiteral("Search results for \"screenshot tool\" (42 found)"),
    QStringLiteral("Unsubscribe from these emails at any time in Settings"),
};

const QStringList codeLines = {
    QStringLiteral("#include <vector>"),
    QStringLiteral("int countWords(const std::string &text) {"),
    QStringLiteral("    int words = 0;"),
    QStringLiteral("    bool inWord = false;"),
    QStringLiteral("    for (char c : text) {"),
    QStringLiteral("        if (std::isspace(c)) inWord = false;"),
    QStringLiteral("        else if (!inWord) { inWord = true; ++words; }"),
    QStringLiteral("    }"),
    QStringLiteral("    return words;"),
    QStringLiteral("}"),
    QStringLiteral("def load_config(path):"),
    QStringLiteral("    with open(path) as f:"),
    QStringLiteral("        return json.load(f)"),
    QStringLiteral("const total = items.reduce((sum, x) => sum + x.price, 0);"),
    QStringLiteral("git commit -m \"Fix crash when the folder is empty\""),
    QStringLiteral("SELECT name, size FROM files WHERE size > 1024;"),
};

const QList<QStringList> tableRows = {
    {QStringLiteral("Name"), QStringLiteral("Size"), QStringLiteral("Modified")},
    {QStringLiteral("report-final.pdf"), QStringLiteral("2.4 MB"), QStringLiteral("Yesterday")},
    {QStringLiteral("holiday.jpg"), QStringLiteral("845 KB"), QStringLiteral("12 May")},
    {QStringLiteral("budget 2023.xlsx"), QStringLiteral("96 KB"), QStringLiteral("3 April")},
    {QStringLiteral("notes.txt"), QStringLiteral("4 KB"), QStringLiteral("Today")},
    {QStringLiteral("Screenshot 2023-05-02.png"), QStringLiteral("1.2 MB"), QStringLiteral("2 May")},
    {QStringLiteral("invoice_0412.pdf"), QStringLiteral("310 KB"), QStringLiteral("28 March")},
    {QStringLiteral("backup.tar.gz"), QStringLiteral("3.1 GB"), QStringLiteral("1 January")},
};

// One window-sized image and the lines it shows, in reading order.
struct Sample
{
    QString file;
    QString kind;
    int scale;
    QString theme;
    QStringList truth;
};

QStringList pick(const QStringList &from, int count, int seed)
{
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << from.at((seed * 7 + i * 3) % from.size());
    out.removeDuplicates();
    return out;
}

QImage render(const QString &kind, int scale, const Theme &theme, int variant, QStringList *truth)
{
    const int w = 1280, h = 800;
    QImage image(w * scale, h * scale, QImage::Format_RGB32);
    image.fill(theme.ground);
    QPainter p(&image);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.scale(scale, scale);
    QFont ui(QStringLiteral("DejaVu Sans"));
    ui.setPixelSize(13);
    QFont title = ui;
    title.setPixelSize(15);
    title.setBold(true);
    QFont mono(QStringLiteral("DejaVu Sans Mono"));
    mono.setPixelSize(13);

    // Title bar.
    p.fillRect(QRect(0, 0, w, 36), theme.side);
    p.setFont(title);
    p.setPen(theme.text);
    const QString windowTitle = kind == QLatin1String("code")    ? QStringLiteral("main.cpp - Editor")
                                : kind == QLatin1String("table") ? QStringLiteral("Files - Documents")
                                                                 : QStringLiteral("Preferences");
    p.drawText(QRect(0, 0, w, 36), Qt::AlignCenter, windowTitle);
    *truth << windowTitle;

    if (kind == QLatin1String("ui")) {
        p.fillRect(QRect(0, 36, 220, h - 36), theme.side);
        p.setFont(ui);
        const QStringList side = pick(sidebarWords, 6, variant);
        for (int i = 0; i < side.size(); ++i) {
            const QRect row(12, 56 + i * 32, 196, 26);
            if (i == variant % side.size()) {
                p.fillRect(row, theme.selection);
                p.setPen(theme.selectionText);
            } else {
                p.setPen(theme.text);
            }
            p.drawText(row.adjusted(12, 0, 0, 0), Qt::AlignVCenter, side[i]);
            *truth << side[i];
        }
        const QStringList body = pick(uiSentences, 12, variant);
        for (int i = 0; i < body.size(); ++i) {
            p.setFont(i % 4 == 0 ? title : ui);
            p.setPen(i % 4 == 3 ? theme.dim : theme.text);
            p.drawText(QPoint(260, 84 + i * 48), body[i]);
            *truth << body[i];
        }
        p.setFont(ui);
        p.setPen(theme.accent);
        p.drawRoundedRect(QRect(1100, 730, 140, 30), 6, 6);
        p.drawText(QRect(1100, 730, 140, 30), Qt::AlignCenter, QStringLiteral("Choose Folder..."));
        *truth << QStringLiteral("Choose Folder...");
    } else if (kind == QLatin1String("code")) {
        p.setFont(mono);
        const int count = int(codeLines.size());
        for (int i = 0; i < 26; ++i) {
            const QString line = codeLines[(i + variant * 5) % count];
            const bool keywordLine = line.contains(QLatin1String("return")) || line.startsWith(QLatin1String("def"));
            p.setPen(line.contains(QLatin1Char('"')) ? theme.string : keywordLine ? theme.keyword : theme.text);
            p.drawText(QPoint(40, 70 + i * 26), line);
            *truth << line.trimmed();
        }
    } else {
        p.setFont(ui);
        const int cols[] = {40, 420, 600};
        for (int r = 0; r < tableRows.size(); ++r) {
            const QStringList &row = tableRows[(r == 0) ? 0 : 1 + (r - 1 + variant) % (tableRows.size() - 1)];
            if (r % 2 == 0 && r > 0)
                p.fillRect(QRect(20, 52 + r * 34, 800, 30), theme.side);
            p.setPen(r == 0 ? theme.dim : theme.text);
            // Columns this far apart are separate text lines to a reader.
            for (int c = 0; c < 3; ++c) {
                p.drawText(QRect(cols[c], 52 + r * 34, 360, 30), Qt::AlignVCenter, row[c]);
                *truth << row[c];
            }
        }
        p.setPen(theme.dim);
        const QStringList notes = pick(uiSentences, 6, variant + 3);
        for (int i = 0; i < notes.size(); ++i) {
            p.drawText(QPoint(40, 400 + i * 40), notes[i]);
            *truth << notes[i];
        }
    }
    return image;
}

std::vector<Sample> makeCorpus(const QString &dir)
{
    QDir().mkpath(dir);
    std::vector<Sample> samples;
    for (const QString &kind : {QStringLiteral("ui"), QStringLiteral("code"), QStringLiteral("table")}) {
        for (int variant = 0; variant < 2; ++variant) {
            for (const Theme *theme : {&light, &dark}) {
                for (int scale : {1, 2}) {
                    Sample s;
                    s.kind = kind;
                    s.scale = scale;
                    s.theme = theme->name;
                    s.file =
                        QStringLiteral("%1/%2-%3-%4x-%5.png").arg(dir, kind).arg(variant).arg(scale).arg(theme->name);
                    const QImage image = render(kind, scale, *theme, variant, &s.truth);
                    if (!QFile::exists(s.file))
                        image.save(s.file);
                    samples.push_back(s);
                }
            }
        }
    }
    return samples;
}

QStringList normalisedLines(const QString &text)
{
    QStringList out;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        const QString l = line.simplified();
        if (!l.isEmpty())
            out << l;
    }
    return out;
}

int levenshtein(const QString &a, const QString &b)
{
    std::vector<int> prev(b.size() + 1), cur(b.size() + 1);
    for (int j = 0; j <= b.size(); ++j)
        prev[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (int j = 1; j <= b.size(); ++j)
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

// Character errors between the true lines and the recognised ones. Lines are
// matched by similarity, not position, so that a layout read in a different
// block order is not counted as wrong characters; a line that was split or
// merged costs what it costs.
int characterErrors(const QStringList &truth, const QStringList &found)
{
    struct Pair
    {
        double rate;
        int errors;
        int t;
        int f;
    };
    std::vector<Pair> pairs;
    for (int t = 0; t < truth.size(); ++t)
        for (int f = 0; f < found.size(); ++f) {
            const int e = levenshtein(truth[t], found[f]);
            if (e < truth[t].size())
                pairs.push_back({double(e) / truth[t].size(), e, t, f});
        }
    std::sort(pairs.begin(), pairs.end(), [](const Pair &a, const Pair &b) { return a.rate < b.rate; });
    std::vector<bool> usedT(truth.size()), usedF(found.size());
    int errors = 0;
    for (const Pair &p : pairs) {
        if (usedT[p.t] || usedF[p.f])
            continue;
        usedT[p.t] = usedF[p.f] = true;
        errors += p.errors;
    }
    for (int t = 0; t < truth.size(); ++t)
        if (!usedT[t])
            errors += truth[t].size();
    for (int f = 0; f < found.size(); ++f)
        if (!usedF[f])
            errors += found[f].size();
    return errors;
}

int characters(const QStringList &lines)
{
    int n = 0;
    for (const QString &l : lines)
        n += l.size();
    return n;
}

struct Tally
{
    double seconds = 0;
    int images = 0, errors = 0, chars = 0;
    void add(double s, int e, int c)
    {
        seconds += s;
        ++images;
        errors += e;
        chars += c;
    }
    double perImage() const { return images ? seconds / images : 0; }
    double cer() const { return chars ? 100.0 * errors / chars : 0; }
};

QString runCli(const QString &file, bool oneThread, double *seconds)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (oneThread)
        env.insert(QStringLiteral("OMP_THREAD_LIMIT"), QStringLiteral("1"));
    else
        env.remove(QStringLiteral("OMP_THREAD_LIMIT"));
    process.setProcessEnvironment(env);
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral("tesseract"),
                  {file, QStringLiteral("stdout"), QStringLiteral("--oem"), QStringLiteral("1")});
    process.waitForFinished(-1);
    *seconds = timer.nsecsElapsed() / 1e9;
    return QString::fromUtf8(process.readAllStandardOutput());
}

QStringList classesOf(const Sample &s)
{
    return {QStringLiteral("all"), QStringLiteral("%1x").arg(s.scale), s.theme,
            QStringLiteral("%1x %2").arg(s.scale).arg(s.theme), s.kind};
}

const QStringList classOrder = {QStringLiteral("all"),     QStringLiteral("1x"),       QStringLiteral("2x"),
                                QStringLiteral("light"),   QStringLiteral("dark"),     QStringLiteral("1x light"),
                                QStringLiteral("1x dark"), QStringLiteral("2x light"), QStringLiteral("2x dark"),
                                QStringLiteral("ui"),      QStringLiteral("code"),     QStringLiteral("table")};

void printTable(const QStringList &names, const QList<QMap<QString, Tally>> &tallies, int timeRef)
{
    std::printf("%-9s", "class");
    for (const QString &n : names)
        std::printf(" | %22s", qPrintable(n));
    std::printf("\n%-9s", "");
    for (int i = 0; i < names.size(); ++i)
        std::printf(" | %9s %5s %6s", "s/image", "CER%", "time×");
    std::printf("\n");
    for (const QString &c : classOrder) {
        std::printf("%-9s", qPrintable(c));
        for (const auto &t : tallies) {
            const Tally &x = t.value(c);
            const double ref = tallies[timeRef].value(c).perImage();
            std::printf(" | %9.3f %5.2f %6.2f", x.perImage(), x.cer(), ref > 0 ? x.perImage() / ref : 0);
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(
            stderr,
            "usage: bench_ocr DIR [--ablate [--only=NAME,...] [--set=VAR=VALUE,...]] [--images=PART] [--verbose]\n");
        return 2;
    }
    const bool verbose = args.contains(QStringLiteral("--verbose"));
    QElapsedTimer timer;
    timer.start();
    std::vector<Sample> corpus = makeCorpus(args[1]);
    // --images=1x-light keeps the images whose file name contains that.
    const QStringList subset = args.filter(QStringLiteral("--images="));
    if (!subset.isEmpty()) {
        const QString part = subset[0].mid(9);
        corpus.erase(
            std::remove_if(corpus.begin(), corpus.end(), [&](const Sample &s) { return !s.file.contains(part); }),
            corpus.end());
        if (corpus.empty()) {
            std::fprintf(stderr, "no image name contains %s\n", qPrintable(part));
            return 2;
        }
    }
    std::printf("corpus: %zu images in %.1f s\n", corpus.size(), timer.nsecsElapsed() / 1e9);

    if (args.contains(QStringLiteral("--ablate"))) {
        QList<QPair<QString, TesseractOptions>> variants;
        TesseractOptions base;
        variants << qMakePair(QStringLiteral("ours"), base);
        const QStringList wanted = args.filter(QStringLiteral("--only=")).isEmpty()
                                       ? QStringList()
                                       : args.filter(QStringLiteral("--only="))[0].mid(7).split(QLatin1Char(','));
        auto add = [&](const QString &name, const TesseractOptions &o) {
            if (wanted.isEmpty() || wanted.contains(name))
                variants << qMakePair(name, o);
        };
        TesseractOptions o = base;
        o.invertDark = false;
        add(QStringLiteral("no invert"), o);
        o = base;
        o.scaleToText = false;
        add(QStringLiteral("no upscale"), o);
        o = base;
        o.pageSegMode = 11;
        add(QStringLiteral("psm 11"), o);
        o = base;
        o.pageSegMode = 4;
        add(QStringLiteral("psm 4"), o);
        o = base;
        o.sourceDpi = 70;
        add(QStringLiteral("dpi 70"), o);
        o = base;
        o.sourceDpi = 0;
        add(QStringLiteral("dpi 96×scale"), o);
        o = base;
        o.sourceDpi = 150;
        add(QStringLiteral("dpi 150"), o);
        o = base;
        o.targetLineHeight = 40;
        add(QStringLiteral("line 40"), o);
        o = base;
        o.smoothUpscale = false;
        add(QStringLiteral("nearest pixel"), o);
        for (int line : {24, 30}) {
            o = base;
            o.targetLineHeight = line;
            o.wholeFactor = false;
            add(QStringLiteral("line %1 fraction").arg(line), o);
        }
        o = base;
        o.variables << qMakePair(QByteArray("tessedit_do_invert"), QByteArray("0"));
        add(QStringLiteral("no do_invert"), o);
        o = base;
        o.pageSegMode = 6;
        add(QStringLiteral("psm 6"), o);
        o = base;
        o.readPngRows = false;
        add(QStringLiteral("qt reader"), o);
        // --set=NAME=VALUE[,NAME=VALUE]: one more variant with those Tesseract variables set.
        for (const QString &arg : args.filter(QStringLiteral("--set="))) {
            o = base;
            for (const QString &assignment : arg.mid(6).split(QLatin1Char(','))) {
                const qsizetype eq = assignment.indexOf(QLatin1Char('='));
                o.variables << qMakePair(assignment.left(eq).toUtf8(), assignment.mid(eq + 1).toUtf8());
            }
            variants << qMakePair(arg.mid(6), o);
        }
        o = base;
        o.variables << qMakePair(QByteArray("textord_tabfind_find_tables"), QByteArray("1"));
        add(QStringLiteral("tables found"), o);
        o = base;
        o.variables << qMakePair(QByteArray("textord_fast_pitch_test"), QByteArray("0"));
        add(QStringLiteral("full pitch test"), o);
        QStringList names;
        QList<QMap<QString, Tally>> tallies;
        for (const auto &[name, options] : variants) {
            auto recognizer = makeTesseractRecognizer(options);
            QMap<QString, Tally> tally;
            for (const Sample &s : corpus) {
                // CPU time of the process (recognition and Qt's scaling
                // threads): variants run one after another, so wall time
                // would carry whatever else the machine did meanwhile.
                const double start = cpuSeconds();
                const QString text = recognizer->recognize(s.file).value_or(QString());
                const double secs = cpuSeconds() - start;
                const int e = characterErrors(s.truth, normalisedLines(text));
                if (verbose)
                    std::printf("%s %s: %d errors\n%s\n----\n", qPrintable(name), qPrintable(s.file), e,
                                qPrintable(text));
                for (const QString &c : classesOf(s))
                    tally[c].add(secs, e, characters(s.truth));
            }
            names << name;
            tallies << tally;
        }
        printTable(names, tallies, 0);
        return 0;
    }

    timer.restart();
    auto recognizer = makeTesseractRecognizer(TesseractOptions());
    recognizer->recognize(corpus.front().file); // warm-up: the engine stays loaded in the program
    std::printf("engine start and first image: %.2f s\n", timer.nsecsElapsed() / 1e9);

    QMap<QString, Tally> ours, cliOne, cliInstalled;
    for (const Sample &s : corpus) {
        const int chars = characters(s.truth);
        timer.restart();
        const QString text = recognizer->recognize(s.file).value_or(QString());
        const double oursSecs = timer.nsecsElapsed() / 1e9;
        const int oursErrors = characterErrors(s.truth, normalisedLines(text));
        double oneSecs = 0, installedSecs = 0;
        const int oneErrors = characterErrors(s.truth, normalisedLines(runCli(s.file, true, &oneSecs)));
        const int installedErrors = characterErrors(s.truth, normalisedLines(runCli(s.file, false, &installedSecs)));
        for (const QString &c : classesOf(s)) {
            ours[c].add(oursSecs, oursErrors, chars);
            cliOne[c].add(oneSecs, oneErrors, chars);
            cliInstalled[c].add(installedSecs, installedErrors, chars);
        }
        std::printf("%-28s ours %.2f s %3d errors | cli(1 thread) %.2f s %3d | cli %.2f s %3d  (of %d)\n",
                    qPrintable(QFileInfo(s.file).fileName()), oursSecs, oursErrors, oneSecs, oneErrors, installedSecs,
                    installedErrors, chars);
        if (verbose)
            std::printf("%s\n----\n", qPrintable(text));
        std::fflush(stdout);
    }
    std::printf("\ntime× is relative to OMP_THREAD_LIMIT=1 tesseract IMG stdout --oem 1\n");
    printTable({QStringLiteral("ours"), QStringLiteral("cli OMP_THREAD_LIMIT=1"), QStringLiteral("cli as installed")},
               {ours, cliOne, cliInstalled}, 1);
    return 0;
}
