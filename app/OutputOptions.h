#pragma once

#include <QCommandLineParser>

#include "core/GrowArray.h"
#include "mods/ImageMod.h"

// The options of "quillmere apply" that shape the saved picture: crop,
// straightening, output size and watermark. Each becomes the filter a
// preset would carry for it, so options and presets take one path.
void addOutputOptions(QCommandLineParser& parser);

// Makes the filters the options ask for (copies from prototypes) and adds
// them to filters. Returns ExitOk, or the exit status after saying what is
// wrong: a value out of range, two output sizes at once, a watermark file
// that cannot be read.
int readOutputOptions(QCommandLineParser const& parser, GrowArray<ImageMod*> const& prototypes,
                      GrowArray<ImageMod*>* filters);
