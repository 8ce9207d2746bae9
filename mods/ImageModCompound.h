#pragma once

#include "mods/ImageMod.h"

// An ordered list of sub-filters applied one after another, blended with the
// input by one "Amount" (1 = full effect). Presets load as compounds.
class ImageModCompound : public ImageMod
{
public:
    GrowArray<ImageMod*> subMods;
    GrowString sourceFile;

    explicit ImageModCompound(char const* name = "Compound Filter");
    ~ImageModCompound() override;

    // Refreshes a compound of the same shape: sub-filters are assigned
    // position by position, never added or removed.
    ImageMod& operator=(ImageMod const& other) override;
    ImageModVariable* getAmountVar() override;
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;
    int getModCategory() const override { return CategoryCompound; }
    ImageMod* createCopy() const override;
    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    GrowArray<ImageModVariable*> getRemixVars() override;
    ImageMod* getEmbeddedBorder() override;
    GrowString getSourceFile() override { return sourceFile; }
    bool operator==(ImageMod const& other) const override;
    void applyDefaultVars() override;
    void setDefaultVarsToCurrent() override;

    // Takes ownership.
    void addSubMod(ImageMod* mod) { subMods.add(mod); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Puts a chain in the order its filters ask for (a crop first, an output
// size last, the rest as they were) and keeps one filter of each singleton
// kind: of two crops, or two output sizes, the later stands, as though it
// had replaced the earlier, which is deleted. The names of the filters so
// replaced are added to replaced when it is given.
void arrangeChain(GrowArray<ImageMod*>* chain, GrowArray<GrowString>* replaced = nullptr);
