#pragma once

#include <QImage>
#include <QString>

#include "imaging/FlexImage.h"

// Reading and writing image files through Qt's image plugins. Every failure
// comes back as one sentence naming the reason (the caller adds the file).

// The largest picture read unless the caller allows more, in megapixels.
inline constexpr double defaultMaxMegapixels = 250.0;

// Decodes an image file with its orientation applied. The size is checked
// against maxMegapixels from the header, before any pixel is decoded; a
// file that decodes with warnings (a truncated JPEG, say) is refused rather
// than returned half grey.
bool readImageFile(QString const& path, double maxMegapixels, QImage* image, QString* error);

// Writes the image atomically: into a temporary file in the same folder,
// renamed over path only once complete. On failure nothing is left behind.
// format is a Qt format name ("jpeg", "png"); quality 0..100 or -1.
bool writeImageFile(QImage const& image, QString const& path, char const* format, int quality, QString* error);
