// Build step: draws an SVG icon as a PNG of a given size, for launchers and
// panels that cannot draw SVG. Usage: brindlewick_iconpng IN.svg SIZE OUT.png
#include <QCoreApplication>
#include <QImage>
#include <QImageReader>
#include <QSaveFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    bool sizeOk = false;
    const int size = args.size() == 4 ? args[2].toInt(&sizeOk) : 0;
    if (!sizeOk || size <= 0) {
        std::fputs("usage: brindlewick_iconpng IN.svg SIZE OUT.png\n", stderr);
        return 2;
    }
    QImageReader reader(args[1], "svg");
    reader.setScaledSize(QSize(size, size));
    const QImage image = reader.read();
    if (image.isNull()) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(args[1]), qPrintable(reader.errorString()));
        return 1;
    }
    QSaveFile out(args[3]);
    if (!out.open(QIODevice::WriteOnly) || !image.save(&out, "PNG") || !out.commit()) {
        std::fprintf(stderr, "%s: cannot write\n", qPrintable(args[3]));
        return 1;
    }
    return 0;
}
