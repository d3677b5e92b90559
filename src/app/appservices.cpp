#include "app/appservices.h"

#include "meta/metastore.h"
#include "meta/textindexer.h"
#include "meta/thumbdiskcache.h"
#include "meta/thumbs.h"
#include "platform/applauncher.h"
#include "platform/filemanager.h"
#include "platform/textrecognizer.h"
#include "platform/trash.h"
#include "system/prefs.h"
#include "tidy/autotidy.h"

AppServices::AppServices(Prefs &prefs, CaptureLocation &capture, const QString &metaPath, const QString &thumbCacheDir)
    : prefs(prefs), capture(capture), meta(std::make_unique<MetaStore>(metaPath)),
      indexer(std::make_unique<TextIndexer>(*meta,
                                            [languages = recognitionLanguages(prefs.text(PrefKey::ocrLanguages))] {
                                                return makeTesseractRecognizer(languages);
                                            })),
      thumbs(std::make_unique<Thumbs>(std::make_shared<ThumbDiskCache>(thumbCacheDir),
                                      std::make_shared<SharedThumbs>(SharedThumbs::defaultRoot()))),
      trash(std::make_unique<FreedesktopTrash>()), tidy(std::make_unique<AutoTidy>(prefs, meta.get(), *trash)),
      launcher(makeAppLauncher()), fileManager(makeFileManager())
{}

AppServices::AppServices(Prefs &prefs, CaptureLocation &capture)
    : AppServices(prefs, capture, MetaStore::defaultFilePath(), ThumbDiskCache::defaultDir())
{}

AppServices::~AppServices() = default;
