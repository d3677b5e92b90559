#pragma once

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QStringList>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>

// Small file helpers the tests share.
namespace TestFiles {

inline QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Sets access and modification time; a symlink itself, not its target.
inline void setMtimeMs(const QString &path, qint64 msSinceEpoch)
{
    const struct timespec t = {time_t(msSinceEpoch / 1000), long(msSinceEpoch % 1000) * 1000000};
    const struct timespec times[2] = {t, t};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}
inline void setMtime(const QString &path, qint64 secondsSinceEpoch) { setMtimeMs(path, secondsSinceEpoch * 1000); }

// Writes a picture of one colour at `path`, making its folder.
inline QUrl writeImage(const QString &path, QSize size, const QColor &colour = Qt::gray, const char *format = "PNG")
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image.save(path, format) ? QUrl::fromLocalFile(path) : QUrl();
}

inline QStringList names(const QList<QUrl> &urls)
{
    QStringList out;
    for (const QUrl &u : urls)
        out << u.fileName();
    return out;
}

// Every entry of a folder, hidden ones included, sorted.
inline QStringList entries(const QString &folder)
{
    QStringList names = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    names.sort();
    return names;
}

inline dev_t deviceOf(const QString &path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_dev : dev_t(-1);
}

} // namespace TestFiles
