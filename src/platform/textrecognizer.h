#pragma once

#include <QString>

#include <atomic>
#include <memory>
#include <optional>

// Recognises the text in one image file. An instance is used from one thread
// at a time and may keep an expensive engine warm between calls.
class TextRecognizer
{
public:
    virtual ~TextRecognizer() = default;

    // The recognised lines in reading order joined by "\n" ("" when the image
    // shows no text), or nothing when the file cannot be read as an image.
    virtual std::optional<QString> recognize(const QString &filePath) = 0;
    // From now on recognition watches `flag` (set from any thread) and gives
    // up on the file in hand soon after it is set; what it returns then is
    // not to be used. The program sets it when it quits.
    virtual void abandonWhen(const std::atomic<bool> *flag) { (void)flag; }
};

// Tesseract (LSTM engine, dictionary on) for the given languages in
// Tesseract's "eng+deu" form. Falls back to "eng" when a requested language
// is not installed. Create it on the thread that will use it.
std::unique_ptr<TextRecognizer> makeTesseractRecognizer(const QString &languages);

// The languages recognition should use: $BRINDLEWICK_OCR_LANGUAGES, else the
// given preference value, else "eng".
QString recognitionLanguages(const QString &preference = {});

// Lowers the calling thread's scheduling priority so background work yields
// to the GUI and to the user's other programs.
void lowerCurrentThreadPriority();
