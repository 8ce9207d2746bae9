#pragma once

#include <cstdint>

#include "core/GrowArray.h"
#include "core/GrowString.h"
#include "imaging/FlexImage.h"
#include "mods/ImageModVariable.h"

// Where a tile lies in the whole picture. The renderer fills one per tile;
// a filter handed none treats its image as the whole picture.
struct ImageModChunkInfo
{
    int32_t reserved = 0;
    int32_t fullWidth = 0;
    int32_t fullHeight = 0;
    int32_t chunkX = 0;
    int32_t chunkY = 0;
    int32_t marginLeft = 0;
    int32_t marginRight = 0;
    int32_t marginTop = 0;
    int32_t marginBottom = 0;
    float scale = 1.0f;
};

// The name of the variation variable that camera styles expose, and the name
// the user sees for it.
inline constexpr char const* remixVariableName = "Variation";
inline constexpr char const* remixDisplayName = "Remix";

// Base of every image filter ("mod"): owned variables with a snapshot of their
// defaults, names, description, enabled flag and a behaviour version. Pixel
// work goes through the two applyMod overloads, which each filter forwards to
// one templateMod<T> written once for both sample types.
class ImageMod
{
public:
    enum Category { CategoryOrdinary = 0, CategoryBorder = 1, CategoryStyle = 2, CategoryCompound = 3 };
    enum PositionReq { PositionFirst = 0, PositionAnywhere = 1, PositionLast = 2 };
    enum SingletonID { SingletonNone = 0, SingletonCrop = 1, SingletonOutputSize = 2 };

    // Keys of the free key/value attributes a preset attaches ("attr").
    GrowArray<GrowString> stringListA;
    // Their values, index for index with stringListA.
    GrowArray<GrowString> stringListB;
    GrowArray<ImageModVariable*> vars;
    GrowArray<ImageModVariable*> auxVars;
    GrowArray<ImageModVariable*> defaultVars;
    GrowString name;
    GrowString displayName;
    GrowString description;
    int32_t enabled = 1;
    int32_t version = 1;

    ImageMod(GrowString const& name, GrowString const& displayName);
    ImageMod(ImageMod const&) = delete;
    virtual ImageMod& operator=(ImageMod const& other);
    virtual bool isAtDefaultVars();
    virtual ~ImageMod();
    virtual ImageModVariable* getAmountVar();
    virtual int getPositionReq() const { return PositionAnywhere; }
    virtual int getExtraPixelRadiusRequired(int width, int height, float scale);
    virtual void setVersion(int v) { version = v; }
    virtual int getModCategory() const { return CategoryOrdinary; }
    virtual bool canBeUserToggled() const { return true; }
    virtual bool canBeUserClosed() const { return true; }
    virtual ImageMod* createCopy() const = 0;
    // A new filter of this kind holding this one's state (variables, version,
    // sub-filters): createCopy makes the kind, assignment copies the state.
    // The caller owns it.
    ImageMod* duplicate() const;
    virtual GrowString getUniqueClassIDString() const { return GrowString(); }
    virtual int getSingletonID() const { return SingletonNone; }
    virtual bool isSingleton() const { return getSingletonID() != SingletonNone; }
    virtual void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info);
    virtual void applyMod(FlexImage<float>* image, ImageModChunkInfo* info);
    virtual ImageModVariable* getMainVariable();
    virtual void notifyVarChanged(int index);
    virtual GrowArray<ImageModVariable*> getRemixVars();
    virtual ImageMod* getEmbeddedBorder() { return nullptr; }
    virtual GrowString getSourceFile() { return GrowString(); }
    virtual void test() {}
    virtual bool operator==(ImageMod const& other) const;
    virtual void applyDefaultVars();
    virtual void setDefaultVarsToCurrent();
    // Whether a preset naming requested means this filter. A filter whose
    // name follows its version answers to each of its names and tells the
    // version that name stands for (left untouched when it implies none).
    virtual bool answersToName(GrowString const& requested, int* impliedVersion) const;

    bool operator!=(ImageMod const& other) const { return !(*this == other); }

    void setName(GrowString const& newName, GrowString const& newDisplayName);
    ImageModVariable* addVar(ImageModVariable const& variable);
    void clearVars();

    // Index of the first variable with the given name, or -1.
    int indexOfVar(char const* variableName) const;
    // Typed reads of variable i; a missing variable or another kind gives the
    // fallback (or null). A number, colour or curve that is not finite reads
    // as the variable's default.
    float floatVar(int index, float fallback = 0.0f) const;
    // The same, limited to the variable's range: for rules defined only
    // there (a preset may store any number; outside the range the rule
    // takes the nearest end).
    float floatVarInRange(int index, float fallback = 0.0f) const;
    bool hasFloatVar(int index) const;
    ToneCurve const* curveVar(int index) const;
    OVRGBColor colorVar(int index) const;
    int choiceVar(int index, int fallback) const;
    void setFloatVar(int index, float value);
    void setColorVar(int index, OVRGBColor colour);
    // Moves one control point of curve variable index (and rebuilds it).
    void setCurvePoint(int index, int point, Point2D position);

protected:
    // Adds a 0..hi float variable shown to the user as 0..100 (or the given
    // display range).
    ImageModVariable* addPercentVar(char const* variableName, float value, float min, float max,
                                    float displayMin = 0.0f, float displayMax = 100.0f);
    // Adds a curve variable from control points such as "0 0 1 1".
    ImageModVariable* addCurveVar(char const* variableName, char const* curvePoints);
    // Adds a colour variable.
    ImageModVariable* addColorVar(char const* variableName, OVRGBColor color);
    // Writes a value into the auxiliary list at variable index i.
    void setAuxFloat(int index, float value);
    void setAuxCurve(int index, char const* curvePoints);

private:
    static void deleteAll(GrowArray<ImageModVariable*>& list);
    static void copyAll(GrowArray<ImageModVariable*> const& from, GrowArray<ImageModVariable*>& to);
};

// The picture's centre in tile coordinates and the visible picture size.
struct PictureFrame
{
    float centreX;
    float centreY;
    float visibleWidth;
    float visibleHeight;
    int32_t fullWidth;
    int32_t fullHeight;
};

template <typename T>
PictureFrame pictureFrame(FlexImage<T> const& tile, ImageModChunkInfo const* info)
{
    if (!info)
        return PictureFrame{tile.width * 0.5f, tile.height * 0.5f, float(tile.width), float(tile.height),
                            tile.width, tile.height};
    float const visibleWidth = float(info->fullWidth - info->marginLeft - info->marginRight);
    float const visibleHeight = float(info->fullHeight - info->marginTop - info->marginBottom);
    return PictureFrame{float(info->marginLeft) + visibleWidth * 0.5f - float(info->chunkX),
                        float(info->marginTop) + visibleHeight * 0.5f - float(info->chunkY), visibleWidth,
                        visibleHeight, info->fullWidth, info->fullHeight};
}
