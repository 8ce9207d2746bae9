#include "mods/ImageModVariable.h"

namespace {

bool sameFloat(float a, float b)
{
    return !(a < b) && !(a > b);
}

template <typename Payload>
Payload const* asSameType(ImageModVariableData const* self, ImageModVariableData const* other)
{
    if (!other || other->getType() != self->getType())
        return nullptr;
    return static_cast<Payload const*>(other);
}

} // namespace

bool ImageModVariableDataFloat::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataFloat>(this, other);
    return o && sameFloat(value, o->value);
}

bool ImageModVariableDataCurve::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataCurve>(this, other);
    if (!o)
        return false;
    GrowArray<Point2D> const& mine = curve.getControlPoints();
    GrowArray<Point2D> const& theirs = o->curve.getControlPoints();
    if (mine.count != theirs.count || !sameFloat(curve.hueOffset, o->curve.hueOffset))
        return false;
    for (int32_t i = 0; i < mine.count; ++i)
        if (!(mine[i] == theirs[i]))
            return false;
    return true;
}

bool ImageModVariableDataColor::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataColor>(this, other);
    return o && color == o->color;
}

bool ImageModVariableDataButton::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataButton>(this, other);
    return o && state == o->state;
}

ImageModVariableDataChoice::ImageModVariableDataChoice(GrowArray<GrowString> const& labels, int32_t selected)
    : selected(selected)
{
    options.add(labels);
}

bool ImageModVariableDataChoice::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataChoice>(this, other);
    return o && selected == o->selected;
}

int32_t ImageModVariableDataChoice::indexOfLabel(GrowString const& label) const
{
    for (GrowArray<GrowString> const& list : options)
        for (int32_t i = 0; i < list.count; ++i)
            if (list[i] == label)
                return i;
    return -1;
}

bool ImageModVariableDataFile::isEqualTo(ImageModVariableData const* other) const
{
    auto const* o = asSameType<ImageModVariableDataFile>(this, other);
    return o && path == o->path;
}

ImageModVariable& ImageModVariable::operator=(ImageModVariable const& other)
{
    if (this == &other)
        return *this;
    setData(other.data ? other.data->createCopy() : nullptr);
    name = other.name;
    if (other.displayName)
        setDisplayName(*other.displayName);
    else {
        delete displayName;
        displayName = nullptr;
    }
    attrB = other.attrB;
    attrA = other.attrA;
    return *this;
}

ImageModVariable::~ImageModVariable()
{
    delete data;
    delete displayName;
}

ImageModVariable ImageModVariable::makeFloat(char const* name, float value, float min, float max)
{
    ImageModVariable v;
    v.name = name;
    v.data = new ImageModVariableDataFloat(value, min, max);
    return v;
}

ImageModVariable ImageModVariable::makeCurve(char const* name, ToneCurve const& curve)
{
    ImageModVariable v;
    v.name = name;
    v.makeCurveVariable(curve);
    return v;
}

ImageModVariable ImageModVariable::makeColor(char const* name, OVRGBColor color)
{
    ImageModVariable v;
    v.name = name;
    v.data = new ImageModVariableDataColor(color);
    return v;
}

ImageModVariable ImageModVariable::makeChoice(char const* name, GrowArray<GrowString> const& labels, int32_t selected)
{
    ImageModVariable v;
    v.name = name;
    v.data = new ImageModVariableDataChoice(labels, selected);
    return v;
}

ImageModVariable ImageModVariable::makeButton(char const* name)
{
    ImageModVariable v;
    v.name = name;
    v.data = new ImageModVariableDataButton();
    return v;
}

ImageModVariable ImageModVariable::makeFile(char const* name, std::initializer_list<char const*> fileTypes)
{
    ImageModVariable v;
    v.name = name;
    auto* file = new ImageModVariableDataFile();
    for (char const* type : fileTypes)
        file->fileTypes.add(GrowString(type));
    v.data = file;
    return v;
}

void ImageModVariable::setDisplayName(GrowString const& shown)
{
    if (!displayName)
        displayName = new GrowString();
    *displayName = shown;
}

void ImageModVariable::setData(ImageModVariableData* payload)
{
    if (payload == data)
        return;
    delete data;
    data = payload;
}

void ImageModVariable::ensureCurveVariable()
{
    if (!curveData())
        setData(new ImageModVariableDataCurve());
}

void ImageModVariable::ensureChoiceVariable()
{
    if (!choiceData())
        setData(new ImageModVariableDataChoice());
}

ImageModVariable& ImageModVariable::makeCurveVariable(ToneCurve const& curve)
{
    auto* payload = new ImageModVariableDataCurve();
    payload->curve = curve;
    setData(payload);
    return *this;
}

template <typename Payload>
static Payload* payloadAs(ImageModVariableData* data, int type)
{
    return data && data->getType() == type ? static_cast<Payload*>(data) : nullptr;
}

ImageModVariableDataFloat* ImageModVariable::floatData() const
{
    return payloadAs<ImageModVariableDataFloat>(data, ImageModVariableData::Float);
}

ImageModVariableDataCurve* ImageModVariable::curveData() const
{
    return payloadAs<ImageModVariableDataCurve>(data, ImageModVariableData::Curve);
}

ImageModVariableDataColor* ImageModVariable::colorData() const
{
    return payloadAs<ImageModVariableDataColor>(data, ImageModVariableData::Color);
}

ImageModVariableDataChoice* ImageModVariable::choiceData() const
{
    return payloadAs<ImageModVariableDataChoice>(data, ImageModVariableData::Choice);
}

ImageModVariableDataFile* ImageModVariable::fileData() const
{
    return payloadAs<ImageModVariableDataFile>(data, ImageModVariableData::File);
}

bool ImageModVariable::matches(ImageModVariable const& other) const
{
    if (name.length() != other.name.length() || !(name == other.name))
        return false;
    if (!(shownName() == other.shownName()))
        return false;
    if (!data)
        return true;
    return other.data && other.data->getType() == data->getType() && data->isEqualTo(other.data);
}

GrowArray<GrowString> labelList(std::initializer_list<char const*> labels)
{
    GrowArray<GrowString> list;
    for (char const* label : labels)
        list.add(GrowString(label));
    return list;
}
