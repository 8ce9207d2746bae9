#pragma once

#include "mods/ImageMod.h"

// The plumbing every concrete filter shares, written once. A filter derives
// from ImageModTemplate<Itself> (or ImageModTemplate<Itself, FamilyBase>) and
// is then only its variables, its constructor and its templateMod<T>: both
// applyMod overloads forward to Derived::templateMod, and createCopy makes a
// new filter of the derived class assigned from this one.
//
// templateMod<T> is defined in the filter's source file; the file ends with
// INSTANTIATE_TEMPLATE_MOD(Filter) so that both sample types exist.
template <typename Derived, typename Base = ImageMod>
class ImageModTemplate : public Base
{
public:
    using Base::Base;

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override
    {
        self()->template templateMod<unsigned char>(image, info);
    }

    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override
    {
        self()->template templateMod<float>(image, info);
    }

    // The copy is assigned through the virtual operator=, so a filter that
    // overrides it (to copy what the base does not, or to leave out a cache)
    // is copied its own way.
    ImageMod* createCopy() const override
    {
        auto* copy = new Derived();
        static_cast<ImageMod&>(*copy) = static_cast<ImageMod const&>(*this);
        return copy;
    }

private:
    Derived* self() { return static_cast<Derived*>(this); }
};

#define INSTANTIATE_TEMPLATE_MOD(Filter)                                                                       \
    template void Filter::templateMod<unsigned char>(FlexImage<unsigned char>*, ImageModChunkInfo*);          \
    template void Filter::templateMod<float>(FlexImage<float>*, ImageModChunkInfo*)
