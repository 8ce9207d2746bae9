#include "mods/output/ImageModCrop.h"

#include <algorithm>

ImageModCrop::ImageModCrop() : ImageMod("Crop/Straighten", "")
{
    ImageModVariable* straighten = addVar(ImageModVariable::makeFloat("Straighten", 0.0f, -180.0f, 180.0f));
    straighten->floatData()->sliderMin = -15.0f;
    straighten->floatData()->sliderMax = 15.0f;
    for (char const* point : {"cp0", "cp1", "cp2", "cp3"})
        addVar(ImageModVariable::makeFloat(point, 0.0f, 0.0f, 1.0f))->setShown(false);
    addVar(ImageModVariable::makeChoice("Aspect",
                                        labelList({"Custom", "Square", "7:6", "5:4", "4:3", "7:5", "3:2", "5:3",
                                                   "16:9", "1.85:1", "2:1", "2.39:1"}),
                                        0));
    addVar(ImageModVariable::makeButton("Apply"));
    addVar(ImageModVariable::makeButton("Cancel"));
    description = "Crop the image by dragging the edges and corners of the crop indicator. Apply minor "
                  "rotation/straightening using the rotation slider. Cropping will always be applied before any "
                  "image adjustments or styles.";
    setDefaultVarsToCurrent();
}

ImageMod* ImageModCrop::createCopy() const
{
    auto* copy = new ImageModCrop();
    static_cast<ImageMod&>(*copy) = *this;
    return copy;
}

double ImageModCrop::straightenDegrees() const
{
    return double(floatVar(Straighten));
}

bool ImageModCrop::cropRectangle(double* left, double* top, double* right, double* bottom) const
{
    double edges[4];
    for (int i = 0; i < 4; ++i)
        edges[i] = std::clamp(double(floatVar(Left + i)), 0.0, 1.0);
    if (edges[0] == 0.0 && edges[1] == 0.0 && edges[2] == 0.0 && edges[3] == 0.0)
        return false;
    if (!(edges[2] > edges[0]) || !(edges[3] > edges[1]))
        return false;
    *left = edges[0];
    *top = edges[1];
    *right = edges[2];
    *bottom = edges[3];
    return true;
}
