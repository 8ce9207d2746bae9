#include "mods/ImageMod.h"

#include <cmath>
#include <map>
#include <mutex>
#include <string>

ImageMod::ImageMod(GrowString const& name, GrowString const& displayName)
{
    setName(name, displayName);
}

ImageMod::~ImageMod()
{
    clearVars();
}

void ImageMod::deleteAll(GrowArray<ImageModVariable*>& list)
{
    for (ImageModVariable* v : list)
        delete v;
    list.release();
}

void ImageMod::copyAll(GrowArray<ImageModVariable*> const& from, GrowArray<ImageModVariable*>& to)
{
    for (ImageModVariable const* v : from)
        to.add(new ImageModVariable(*v));
}

ImageMod& ImageMod::operator=(ImageMod const& other)
{
    if (this == &other)
        return *this;
    name = other.name;
    displayName = other.displayName;
    description = other.description;
    clearVars();
    copyAll(other.vars, vars);
    copyAll(other.auxVars, auxVars);
    copyAll(other.defaultVars, defaultVars);
    enabled = other.enabled;
    version = other.version;
    stringListA = other.stringListA;
    stringListB = other.stringListB;
    return *this;
}

void ImageMod::clearVars()
{
    deleteAll(vars);
    deleteAll(auxVars);
    deleteAll(defaultVars);
}

void ImageMod::setName(GrowString const& newName, GrowString const& newDisplayName)
{
    name = newName;
    displayName = newDisplayName.isEmpty() ? newName : newDisplayName;
}

ImageModVariable* ImageMod::addVar(ImageModVariable const& variable)
{
    vars.add(new ImageModVariable(variable));
    auxVars.add(new ImageModVariable(variable));
    defaultVars.add(new ImageModVariable(variable));
    return vars.last();
}

bool ImageMod::isAtDefaultVars()
{
    if (vars.count != defaultVars.count)
        return false;
    for (int32_t i = 0; i < vars.count; ++i)
        if (!vars[i]->matches(*defaultVars[i]))
            return false;
    return true;
}

bool ImageMod::operator==(ImageMod const& other) const
{
    if (name.length() != other.name.length() || !(name == other.name))
        return false;
    if (vars.count != other.vars.count || enabled != other.enabled)
        return false;
    for (int32_t i = 0; i < vars.count; ++i)
        if (!vars[i]->matches(*other.vars[i]))
            return false;
    return version == other.version;
}

ImageModVariable* ImageMod::getAmountVar()
{
    for (ImageModVariable* v : vars)
        if (v->name == "Amount")
            return v;
    return nullptr;
}

ImageMod* ImageMod::duplicate() const
{
    ImageMod* copy = createCopy();
    *copy = *this;
    return copy;
}

int ImageMod::getExtraPixelRadiusRequired(int, int, float)
{
    return 0;
}

void ImageMod::applyMod(FlexImage<unsigned char>*, ImageModChunkInfo*) {}

void ImageMod::applyMod(FlexImage<float>*, ImageModChunkInfo*) {}

ImageModVariable* ImageMod::getMainVariable()
{
    return vars.count > 0 ? vars[0] : nullptr;
}

void ImageMod::notifyVarChanged(int) {}

GrowArray<ImageModVariable*> ImageMod::getRemixVars()
{
    GrowArray<ImageModVariable*> remix;
    for (ImageModVariable* v : vars) {
        if (v->name == remixVariableName) {
            remix.add(v);
            break;
        }
    }
    return remix;
}

void ImageMod::applyDefaultVars()
{
    for (int32_t i = 0; i < vars.count && i < defaultVars.count; ++i)
        *vars[i] = *defaultVars[i];
}

void ImageMod::setDefaultVarsToCurrent()
{
    deleteAll(defaultVars);
    copyAll(vars, defaultVars);
}

bool ImageMod::answersToName(GrowString const& requested, int*) const
{
    return requested == name;
}

int ImageMod::indexOfVar(char const* variableName) const
{
    for (int32_t i = 0; i < vars.count; ++i)
        if (vars[i]->name == variableName)
            return i;
    return -1;
}

// A value that is not finite (a preset may hold nan or inf) reads as the
// variable's default, so that no filter ever computes with it.
float ImageMod::floatVar(int index, float fallback) const
{
    if (index < 0 || index >= vars.count)
        return fallback;
    ImageModVariableDataFloat const* f = vars[index]->floatData();
    if (!f)
        return fallback;
    if (std::isfinite(f->value))
        return f->value;
    ImageModVariableDataFloat const* d = index < defaultVars.count ? defaultVars[index]->floatData() : nullptr;
    return d && std::isfinite(d->value) ? d->value : fallback;
}

float ImageMod::floatVarInRange(int index, float fallback) const
{
    float const value = floatVar(index, fallback);
    ImageModVariableDataFloat const* f = index >= 0 && index < vars.count ? vars[index]->floatData() : nullptr;
    if (!f || !(f->min < f->max))
        return value;
    return std::fmin(std::fmax(value, f->min), f->max);
}

bool ImageMod::hasFloatVar(int index) const
{
    return index >= 0 && index < vars.count && vars[index]->floatData();
}

ToneCurve const* ImageMod::curveVar(int index) const
{
    if (index < 0 || index >= vars.count)
        return nullptr;
    ImageModVariableDataCurve const* c = vars[index]->curveData();
    if (!c || c->curve.isFinite())
        return c ? &c->curve : nullptr;
    ImageModVariableDataCurve const* d = index < defaultVars.count ? defaultVars[index]->curveData() : nullptr;
    return d && d->curve.isFinite() ? &d->curve : nullptr;
}

OVRGBColor ImageMod::colorVar(int index) const
{
    if (index < 0 || index >= vars.count)
        return OVRGBColor();
    ImageModVariableDataColor const* c = vars[index]->colorData();
    if (!c || c->color.isFinite())
        return c ? c->color : OVRGBColor();
    ImageModVariableDataColor const* d = index < defaultVars.count ? defaultVars[index]->colorData() : nullptr;
    return d && d->color.isFinite() ? d->color : OVRGBColor();
}

int ImageMod::choiceVar(int index, int fallback) const
{
    if (index < 0 || index >= vars.count)
        return fallback;
    ImageModVariableDataChoice const* c = vars[index]->choiceData();
    return c ? c->selected : fallback;
}

void ImageMod::setFloatVar(int index, float value)
{
    if (index < 0 || index >= vars.count)
        return;
    if (ImageModVariableDataFloat* f = vars[index]->floatData())
        f->value = value;
    notifyVarChanged(index);
}

void ImageMod::setColorVar(int index, OVRGBColor colour)
{
    if (index < 0 || index >= vars.count)
        return;
    if (ImageModVariableDataColor* c = vars[index]->colorData())
        c->color = colour;
    notifyVarChanged(index);
}

void ImageMod::setCurvePoint(int index, int point, Point2D position)
{
    if (index < 0 || index >= vars.count)
        return;
    if (ImageModVariableDataCurve* c = vars[index]->curveData())
        c->curve.setControlPoint(point, position);
    notifyVarChanged(index);
}

ImageModVariable* ImageMod::addPercentVar(char const* variableName, float value, float min, float max,
                                          float displayMin, float displayMax)
{
    ImageModVariable* v = addVar(ImageModVariable::makeFloat(variableName, value, min, max));
    v->floatData()->setDisplayRange(displayMin, displayMax);
    return v;
}

namespace {

// A filter's built-in curve from its points. Filters are constructed for
// every copy of a chain, and the styles build theirs for every render:
// each built-in curve is smoothed once per process (there are a few dozen,
// all written in the filters' code), not once per copy.
ToneCurve builtInCurve(char const* curvePoints)
{
    static std::mutex lock;
    static std::map<std::string, ToneCurve> smoothed;
    std::lock_guard<std::mutex> guard(lock);
    auto known = smoothed.find(curvePoints);
    if (known == smoothed.end()) {
        ToneCurve curve;
        curve.setControlPoints(GrowString(curvePoints));
        known = smoothed.emplace(curvePoints, curve).first;
    }
    return known->second;
}

} // namespace

ImageModVariable* ImageMod::addCurveVar(char const* variableName, char const* curvePoints)
{
    return addVar(ImageModVariable::makeCurve(variableName, builtInCurve(curvePoints)));
}

ImageModVariable* ImageMod::addColorVar(char const* variableName, OVRGBColor color)
{
    return addVar(ImageModVariable::makeColor(variableName, color));
}

void ImageMod::setAuxFloat(int index, float value)
{
    if (index < 0 || index >= auxVars.count)
        return;
    if (ImageModVariableDataFloat* f = auxVars[index]->floatData())
        f->value = value;
}

void ImageMod::setAuxCurve(int index, char const* curvePoints)
{
    if (index < 0 || index >= auxVars.count)
        return;
    auxVars[index]->makeCurveVariable(builtInCurve(curvePoints));
}
