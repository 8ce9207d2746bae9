#include "mods/UsedRegion.h"

#include <algorithm>

#include "mods/ImageMod.h"

UsedRegion::Scope::State& UsedRegion::Scope::current()
{
    thread_local State state;
    return state;
}

PixelRect UsedRegion::of(int width, int height)
{
    Scope::State const& state = Scope::current();
    if (!state.narrowed || state.width != width || state.height != height)
        return PixelRect{0, 0, width, height};
    return state.rect;
}

PixelRect grownWithin(PixelRect rect, int reach, int width, int height)
{
    // In 64 bits: a reach may be as large as an int.
    long long const by = std::max(reach, 0);
    auto const within = [](long long edge, int limit) { return int(std::clamp<long long>(edge, 0, limit)); };
    return PixelRect{within(rect.left - by, width), within(rect.top - by, height), within(rect.right + by, width),
                     within(rect.bottom + by, height)};
}

UsedRegion::Scope::Scope(int width, int height, PixelRect kept, int reach)
    : previous(current())
{
    State& state = current();
    state.narrowed = true;
    state.width = width;
    state.height = height;
    state.rect = grownWithin(kept, reach, width, height);
}

UsedRegion::Scope::~Scope()
{
    current() = previous;
}

std::vector<int> UsedRegion::readsAfter(GrowArray<ImageMod*> const& chain, int width, int height, float scale)
{
    std::vector<int> after(size_t(std::max(chain.count, 0)));
    long long sum = 0;
    for (int i = chain.count - 1; i >= 0; --i) {
        after[i] = int(sum);
        if (chain[i]->enabled)
            sum = std::min<long long>(sum + std::max(chain[i]->getExtraPixelRadiusRequired(width, height, scale), 0),
                                      std::max(width, height));
    }
    return after;
}

template <typename T>
void UsedRegion::applyInTurn(GrowArray<ImageMod*> const& chain, FlexImage<T>* image, ImageModChunkInfo* info)
{
    int const fullWidth = info ? info->fullWidth : image->width;
    int const fullHeight = info ? info->fullHeight : image->height;
    std::vector<int> const after = readsAfter(chain, fullWidth, fullHeight, info ? info->scale : 1.0f);
    PixelRect const used = of(image->width, image->height);
    for (int i = 0; i < chain.count; ++i)
        if (chain[i]->enabled) {
            Scope const scope(image->width, image->height, used, after[size_t(i)]);
            chain[i]->applyMod(image, info);
        }
}

template void UsedRegion::applyInTurn(GrowArray<ImageMod*> const&, FlexImage<unsigned char>*, ImageModChunkInfo*);
template void UsedRegion::applyInTurn(GrowArray<ImageMod*> const&, FlexImage<float>*, ImageModChunkInfo*);
