#pragma once

#include <QString>

#include <memory>

class AppLauncher;
class AutoTidy;
class CaptureLocation;
class FileManager;
class MetaStore;
class Prefs;
class TextIndexer;
class Thumbs;
class Trash;

// The long-lived parts of the desktop program, each made once, in an order
// where everything is built after what it uses and goes before it. main()
// owns one; tests make their own over a throwaway home.
struct AppServices
{
    // The application object must exist. `metaPath` is the records' file,
    // `thumbCacheDir` the thumbnails' disk cache.
    AppServices(Prefs &prefs, CaptureLocation &capture, const QString &metaPath, const QString &thumbCacheDir);
    // Over the user's own files ($XDG_DATA_HOME, $XDG_CACHE_HOME).
    AppServices(Prefs &prefs, CaptureLocation &capture);
    ~AppServices();
    AppServices(const AppServices &) = delete;
    AppServices &operator=(const AppServices &) = delete;

    Prefs &prefs;
    CaptureLocation &capture;
    std::unique_ptr<MetaStore> meta;
    // Tesseract in the languages of $BRINDLEWICK_OCR_LANGUAGES or the
    // "ocrLanguages" preference, writing into `meta`.
    std::unique_ptr<TextIndexer> indexer;
    std::unique_ptr<Thumbs> thumbs;
    // The freedesktop.org Trash of this session.
    std::unique_ptr<Trash> trash;
    std::unique_ptr<AutoTidy> tidy;
    std::unique_ptr<AppLauncher> launcher;
    std::unique_ptr<FileManager> fileManager;
};
