#pragma once

#include "mods/ImageMod.h"

// The user's crop rectangle, straightening angle and aspect choice. It
// changes no pixels itself: whoever finishes a photo reads it and crops and
// turns the picture before any other filter runs. It stands first in a
// chain, and a chain holds at most one.
class ImageModCrop : public ImageMod
{
public:
    enum Variable { Straighten = 0, Left = 1, Top = 2, Right = 3, Bottom = 4, Aspect = 5, Apply = 6, Cancel = 7 };

    ImageModCrop();

    ImageMod* createCopy() const override;
    int getPositionReq() const override { return PositionFirst; }
    int getSingletonID() const override { return SingletonCrop; }

    // The straightening angle in degrees (0 for any value that is not a
    // finite number).
    double straightenDegrees() const;
    // The crop rectangle as fractions of the picture's width and height:
    // cp0 to cp3 are its left, top, right and bottom edges. False when
    // nothing is cropped: all four 0, or no rectangle at all (right not
    // beyond left, or bottom not below top). Edges beyond the picture are
    // taken at its border; one that is not a number reads 0.
    bool cropRectangle(double* left, double* top, double* right, double* bottom) const;
};
