#include "app/OutputOptions.h"

#include <cmath>
#include <memory>

#include <QRegularExpression>

#include "app/CommandLine.h"
#include "extension/ImageFiles.h"
#include "extension/ImageModRegistry.h"
#include "mods/output/ImageModCrop.h"
#include "mods/output/ImageModImageOverlay.h"
#include "mods/output/ImageModSize2.h"

namespace {

// No side of a saved picture beyond this; the megapixel limit still holds.
constexpr int largestSide = 100000;

std::unique_ptr<ImageMod> copyOf(GrowArray<ImageMod*> const& prototypes, char const* name)
{
    ImageMod* prototype = findPrototype(prototypes, name);
    std::unique_ptr<ImageMod> mod(prototype->createCopy());
    *mod = *prototype;
    return mod;
}

// A number from the option, within [low, high]; false when it is none.
bool readNumber(QCommandLineParser const& parser, QString const& option, double low, double high, double* value)
{
    bool ok = false;
    *value = parser.value(option).toDouble(&ok);
    return ok && std::isfinite(*value) && *value >= low && *value <= high;
}

bool readSize(QString const& text, int* width, int* height)
{
    QRegularExpressionMatch const match = QRegularExpression("^(\\d{1,6})[xX](\\d{1,6})$").match(text);
    if (!match.hasMatch())
        return false;
    *width = match.captured(1).toInt();
    *height = match.captured(2).toInt();
    return *width >= 1 && *height >= 1 && *width <= largestSide && *height <= largestSide;
}

int readSizeOption(QCommandLineParser const& parser, GrowArray<ImageMod*> const& prototypes,
                   GrowArray<ImageMod*>* filters)
{
    int const given = int(parser.isSet("long-side")) + int(parser.isSet("max-size")) + int(parser.isSet("exact-size"));
    if (given == 0)
        return ExitOk;
    if (given > 1)
        return usageError("apply", "give one of --long-side, --max-size and --exact-size");
    int width = 0;
    int height = 0;
    if (parser.isSet("exact-size")) {
        if (!readSize(parser.value("exact-size"), &width, &height))
            return usageError("apply", "--exact-size needs WIDTHxHEIGHT in pixels, e.g. 1920x1080");
        std::unique_ptr<ImageMod> size = copyOf(prototypes, "Output Size Exact");
        size->setFloatVar(ImageModExactSize::Width, float(width));
        size->setFloatVar(ImageModExactSize::Height, float(height));
        filters->add(size.release());
        return ExitOk;
    }
    std::unique_ptr<ImageMod> size = copyOf(prototypes, "Output Size");
    size->setVersion(1);
    if (parser.isSet("long-side")) {
        double side = 0.0;
        if (!readNumber(parser, "long-side", 1.0, largestSide, &side) || side != std::floor(side))
            return usageError("apply", "--long-side needs a whole number of pixels, e.g. 2048");
        size->setFloatVar(ImageModConstrainSize::MaximumSide, float(side));
        size->notifyVarChanged(ImageModConstrainSize::MaximumSide);
    } else {
        if (!readSize(parser.value("max-size"), &width, &height))
            return usageError("apply", "--max-size needs WIDTHxHEIGHT in pixels, e.g. 1600x1200");
        size->setFloatVar(ImageModConstrainSize::Width, float(width));
        size->notifyVarChanged(ImageModConstrainSize::Width);
        size->setFloatVar(ImageModConstrainSize::Height, float(height));
        size->notifyVarChanged(ImageModConstrainSize::Height);
    }
    filters->add(size.release());
    return ExitOk;
}

int readCropOptions(QCommandLineParser const& parser, GrowArray<ImageMod*> const& prototypes,
                    GrowArray<ImageMod*>* filters)
{
    if (!parser.isSet("crop") && !parser.isSet("straighten"))
        return ExitOk;
    std::unique_ptr<ImageMod> crop = copyOf(prototypes, "Crop/Straighten");
    if (parser.isSet("crop")) {
        QStringList const parts = parser.value("crop").split(',');
        double edges[4] = {};
        bool ok = parts.size() == 4;
        for (int i = 0; ok && i < 4; ++i) {
            edges[i] = parts[i].trimmed().toDouble(&ok);
            ok = ok && edges[i] >= 0.0 && edges[i] <= 1.0;
        }
        if (!ok || !(edges[2] > edges[0]) || !(edges[3] > edges[1]))
            return usageError("apply", "--crop needs LEFT,TOP,RIGHT,BOTTOM as fractions of the picture, from 0 to 1, "
                                       "right beyond left and bottom below top (e.g. 0.1,0,0.9,1)");
        for (int i = 0; i < 4; ++i)
            crop->setFloatVar(ImageModCrop::Left + i, float(edges[i]));
    }
    if (parser.isSet("straighten")) {
        double degrees = 0.0;
        if (!readNumber(parser, "straighten", -180.0, 180.0, &degrees))
            return usageError("apply", "--straighten needs an angle in degrees, from -180 to 180");
        crop->setFloatVar(ImageModCrop::Straighten, float(degrees));
    }
    filters->add(crop.release());
    return ExitOk;
}

// The anchor named as the filter names it, case and dashes aside
// ("lower-right", "Lower Right"); -1 for none.
int anchorNamed(ImageMod const& watermark, QString const& name)
{
    QString const wanted = name.trimmed().toLower().replace('-', ' ');
    ImageModVariableDataChoice const* anchors = watermark.vars[ImageModImageOverlay::Anchor]->choiceData();
    for (int i = 0; i < anchors->options[0].count; ++i)
        if (QString(anchors->options[0][i].c_str()).toLower() == wanted)
            return i;
    return -1;
}

int readWatermarkOptions(QCommandLineParser const& parser, GrowArray<ImageMod*> const& prototypes,
                         GrowArray<ImageMod*>* filters)
{
    bool const tuned = parser.isSet("watermark-anchor") || parser.isSet("watermark-scale") ||
                       parser.isSet("watermark-opacity") || parser.isSet("watermark-offset");
    if (!parser.isSet("watermark"))
        return tuned ? usageError("apply", "the --watermark-... options need --watermark FILE") : ExitOk;
    std::unique_ptr<ImageMod> watermark = copyOf(prototypes, "Watermark");
    int const anchor = anchorNamed(*watermark, parser.value("watermark-anchor"));
    if (anchor < 0)
        return usageError("apply", "--watermark-anchor needs one of lower-right, lower-left, upper-right, "
                                   "upper-left, left, right, top, bottom, center");
    watermark->vars[ImageModImageOverlay::Anchor]->choiceData()->selected = anchor;
    double scale = 0.0;
    double opacity = 0.0;
    double offset = 0.0;
    if (!readNumber(parser, "watermark-scale", 1.0, 100.0, &scale))
        return usageError("apply", "--watermark-scale needs a percentage of the picture, from 1 to 100");
    if (!readNumber(parser, "watermark-opacity", 0.0, 100.0, &opacity))
        return usageError("apply", "--watermark-opacity needs a percentage, from 0 to 100");
    if (!readNumber(parser, "watermark-offset", 0.0, 100.0, &offset))
        return usageError("apply", "--watermark-offset needs a number from 0 to 100 (half a percent of the "
                                   "shorter side each)");
    watermark->setFloatVar(ImageModImageOverlay::Scale, float(scale));
    watermark->setFloatVar(ImageModImageOverlay::Opacity, float(opacity / 100.0));
    watermark->setFloatVar(ImageModImageOverlay::Offset, float(offset));

    // The engine leaves out an overlay it cannot read; the tool says so.
    QString const file = parser.value("watermark");
    FlexImage<unsigned char> probe;
    QString error;
    if (!checkPhotoSize(file, defaultMaxMegapixels, &error) ||
        !loadOverlayImage(GrowString(file.toUtf8().constData()), 8, 8, &probe)) {
        reportError(file, error.isEmpty() ? QString("cannot be read as an image") : error);
        return ExitFailed;
    }
    watermark->vars[ImageModImageOverlay::File]->fileData()->path = GrowString(file.toUtf8().constData());
    filters->add(watermark.release());
    return ExitOk;
}

} // namespace

void addOutputOptions(QCommandLineParser& parser)
{
    parser.addOption({"crop", "Keep the rectangle LEFT,TOP,RIGHT,BOTTOM, as fractions of the picture (0 to 1).",
                      "L,T,R,B"});
    parser.addOption({"straighten", "Turn the picture clockwise by DEG degrees and keep the largest upright "
                                    "rectangle of its proportions.",
                      "DEG"});
    parser.addOption({"long-side", "Save with the longest side at most N pixels (a smaller picture keeps its "
                                   "size).",
                      "N"});
    parser.addOption({"max-size", "Save scaled (up or down) to fill a box of WxH pixels, proportions kept.", "WxH"});
    parser.addOption({"exact-size", "Save at exactly WxH pixels.", "WxH"});
    parser.addOption({"watermark", "Lay the picture in FILE over the result.", "FILE"});
    parser.addOption({"watermark-anchor", "Where: lower-right (default), lower-left, upper-right, upper-left, "
                                          "left, right, top, bottom or center.",
                      "WHERE", "lower-right"});
    parser.addOption({"watermark-scale", "Its box, as a percentage of the picture's sides (default 15).", "P",
                      "15"});
    parser.addOption({"watermark-opacity", "Its opacity in percent (default 100).", "P", "100"});
    parser.addOption({"watermark-offset", "Its distance from the edge, in half percents of the shorter side "
                                          "(default 5).",
                      "N", "5"});
}

int readOutputOptions(QCommandLineParser const& parser, GrowArray<ImageMod*> const& prototypes,
                      GrowArray<ImageMod*>* filters)
{
    int status = readCropOptions(parser, prototypes, filters);
    if (status == ExitOk)
        status = readSizeOption(parser, prototypes, filters);
    if (status == ExitOk)
        status = readWatermarkOptions(parser, prototypes, filters);
    return status;
}
