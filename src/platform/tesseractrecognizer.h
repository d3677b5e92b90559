#pragma once

#include "platform/textrecognizer.h"

#include <QImage>
#include <QList>
#include <QPair>

// The Tesseract settings the program changes from Tesseract's defaults.
QList<QPair<QByteArray, QByteArray>> defaultTesseractVariables();

// The knobs of the Tesseract backend. The defaults are what the program uses;
// the benchmark flips them one at a time to show what each is worth.
struct TesseractOptions
{
    QString languages = QStringLiteral("eng");
    bool invertDark = true;  // dark themes: light text on dark ground
    bool scaleToText = true; // bring small text up to the height the LSTM likes
    int pageSegMode = 3;     // tesseract::PSM_AUTO
    // What Tesseract is told the resolution is; 0: 96 times the scale applied.
    // 96 throughout lays out upscaled 1x text best.
    int sourceDpi = 96;
    int targetLineHeight = 26; // pixels from ascender to descender
    bool smoothUpscale = true; // else nearest pixel
    bool wholeFactor = true;   // scale up by 2 or 3, not by the fraction the target asks
    bool readPngRows = true;   // common PNGs read straight to gray, else Qt's reader
    // Extra Tesseract settings; see defaultTesseractVariables().
    QList<QPair<QByteArray, QByteArray>> variables = defaultTesseractVariables();
};

std::unique_ptr<TextRecognizer> makeTesseractRecognizer(const TesseractOptions &options);

// The file as 8-bit gray (transparency over white), before preprocessing;
// nothing when it cannot be read.
std::optional<QImage> readGrayForRecognition(const QString &path, const TesseractOptions &options);
