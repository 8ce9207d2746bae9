#include "mods/ImageModCompound.h"

#include "mods/UsedRegion.h"

ImageModCompound::ImageModCompound(char const* name)
    : ImageMod(name, "")
{
    ImageModVariable* amount = addPercentVar("Amount", 1.0f, 0.0f, 1.0f);
    amount->attrB = 0;
    defaultVars[0]->attrB = 0;
    auxVars[0]->attrB = 0;
}

ImageModCompound::~ImageModCompound()
{
    for (ImageMod* mod : subMods)
        delete mod;
}

ImageMod& ImageModCompound::operator=(ImageMod const& other)
{
    if (this == &other || other.getModCategory() != CategoryCompound)
        return *this;
    auto const& source = static_cast<ImageModCompound const&>(other);
    for (int32_t i = 0; i < subMods.count && i < source.subMods.count; ++i)
        *subMods[i] = *source.subMods[i];
    return ImageMod::operator=(other);
}

ImageModVariable* ImageModCompound::getAmountVar()
{
    return vars.count > 0 ? vars[0] : nullptr;
}

int ImageModCompound::getExtraPixelRadiusRequired(int width, int height, float scale)
{
    int radius = 0;
    for (ImageMod* mod : subMods) {
        int const needed = mod->getExtraPixelRadiusRequired(width, height, scale);
        if (needed > radius)
            radius = needed;
    }
    return radius;
}

ImageMod* ImageModCompound::createCopy() const
{
    auto* copy = new ImageModCompound("Compound Filter");
    for (ImageMod const* mod : subMods)
        copy->subMods.add(mod->duplicate());
    copy->setName(name, "");
    copy->sourceFile = sourceFile;
    return copy;
}

GrowArray<ImageModVariable*> ImageModCompound::getRemixVars()
{
    GrowArray<ImageModVariable*> all;
    for (ImageMod* mod : subMods)
        for (ImageModVariable* v : mod->getRemixVars())
            all.add(v);
    return all;
}

ImageMod* ImageModCompound::getEmbeddedBorder()
{
    for (int32_t i = subMods.count - 1; i >= 0; --i) {
        if (subMods[i]->getModCategory() == CategoryBorder)
            return subMods[i];
        if (ImageMod* border = subMods[i]->getEmbeddedBorder())
            return border;
    }
    return nullptr;
}

bool ImageModCompound::operator==(ImageMod const& other) const
{
    if (other.getModCategory() != CategoryCompound)
        return false;
    auto const& o = static_cast<ImageModCompound const&>(other);
    for (int32_t i = 0; i < subMods.count && i < o.subMods.count; ++i)
        if (!(*subMods[i] == *o.subMods[i]))
            return false;
    return ImageMod::operator==(other);
}

void ImageModCompound::applyDefaultVars()
{
    for (ImageMod* mod : subMods)
        mod->applyDefaultVars();
    ImageMod::applyDefaultVars();
}

void ImageModCompound::setDefaultVarsToCurrent()
{
    for (ImageMod* mod : subMods)
        mod->setDefaultVarsToCurrent();
    ImageMod::setDefaultVarsToCurrent();
}

template <typename T>
void ImageModCompound::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    if (vars.count == 0 || !vars[0]->floatData())
        return;
    // Amounts above 1 act as 1; a negative amount, like 0, leaves the input.
    float const a = floatVar(0);
    if (!(a > 0.0f))
        return;
    FlexImage<T> input;
    if (a < 1.0f)
        input.copyFromImage(*image, true);
    UsedRegion::applyInTurn(subMods, image, info);
    if (a >= 1.0f)
        return;
    size_t const n = image->sampleCount();
    T* out = image->pixels;
    T const* in = input.pixels;
    for (size_t i = 0; i < n; ++i)
        out[i] = FlexImage<T>::storeSample(float(in[i]) * (1.0f - a) + float(out[i]) * a);
}

template void ImageModCompound::templateMod(FlexImage<unsigned char>*, ImageModChunkInfo*);
template void ImageModCompound::templateMod(FlexImage<float>*, ImageModChunkInfo*);

void arrangeChain(GrowArray<ImageMod*>* chain, GrowArray<GrowString>* replaced)
{
    GrowArray<ImageMod*> kept;
    for (int i = 0; i < chain->count; ++i) {
        ImageMod* mod = (*chain)[i];
        int const kind = mod->getSingletonID();
        bool laterOfItsKind = false;
        for (int j = i + 1; kind != ImageMod::SingletonNone && j < chain->count; ++j)
            laterOfItsKind = laterOfItsKind || (*chain)[j]->getSingletonID() == kind;
        if (laterOfItsKind) {
            if (replaced)
                replaced->add(mod->name);
            delete mod;
        } else {
            kept.add(mod);
        }
    }
    // First, anywhere, last; an unknown requirement counts as anywhere.
    auto const rank = [](ImageMod const* mod) {
        int const position = mod->getPositionReq();
        return position == ImageMod::PositionFirst ? 0 : position == ImageMod::PositionLast ? 2 : 1;
    };
    chain->count = 0;
    for (int wanted = 0; wanted < 3; ++wanted)
        for (ImageMod* mod : kept)
            if (rank(mod) == wanted)
                chain->add(mod);
}
