#pragma once

#include <cstdint>
#include <initializer_list>

#include "core/GrowArray.h"
#include "core/GrowString.h"
#include "imaging/OVRGBColor.h"
#include "imaging/ToneCurve.h"

// The typed payload of a filter variable. Payloads compare by value so that
// the renderer can tell a changed filter from an unchanged one.
class ImageModVariableData
{
public:
    enum Type { Float = 1, Curve = 2, Color = 3, Button = 4, Choice = 5, File = 6 };

    virtual ~ImageModVariableData() = default;
    virtual int getType() const = 0;
    virtual ImageModVariableData* createCopy() const = 0;
    virtual bool isEqualTo(ImageModVariableData const* other) const = 0;
};

class ImageModVariableDataFloat : public ImageModVariableData
{
public:
    float value = 0.0f;
    float min = 0.0f;
    float max = 1.0f;
    bool clampMin = true;
    bool clampMax = true;
    float sliderMin = 0.0f;
    float sliderMax = 1.0f;
    float displayMin = 0.0f;
    float displayMax = 1.0f;
    bool hasDisplayRange = false;

    ImageModVariableDataFloat(float value, float min, float max)
        : value(value), min(min), max(max), sliderMin(min), sliderMax(max), displayMin(min), displayMax(max)
    {
    }

    // The range the user sees, e.g. 0..100 for a fraction shown as percent.
    void setDisplayRange(float low, float high)
    {
        displayMin = low;
        displayMax = high;
        hasDisplayRange = true;
    }

    int getType() const override { return Float; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataFloat(*this); }
    bool isEqualTo(ImageModVariableData const* other) const override;
};

class ImageModVariableDataCurve : public ImageModVariableData
{
public:
    ToneCurve curve;

    int getType() const override { return Curve; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataCurve(*this); }
    bool isEqualTo(ImageModVariableData const* other) const override;
};

class ImageModVariableDataColor : public ImageModVariableData
{
public:
    OVRGBColor color;

    ImageModVariableDataColor() = default;
    explicit ImageModVariableDataColor(OVRGBColor c) : color(c) {}

    int getType() const override { return Color; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataColor(*this); }
    bool isEqualTo(ImageModVariableData const* other) const override;
};

class ImageModVariableDataButton : public ImageModVariableData
{
public:
    int32_t state = 0;

    int getType() const override { return Button; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataButton(*this); }
    bool isEqualTo(ImageModVariableData const* other) const override;
};

class ImageModVariableDataChoice : public ImageModVariableData
{
public:
    GrowArray<GrowArray<GrowString>> options;
    int32_t selected = 0;

    ImageModVariableDataChoice() = default;
    ImageModVariableDataChoice(GrowArray<GrowString> const& labels, int32_t selected);
    ImageModVariableDataChoice(GrowArray<GrowArray<GrowString>> const& labelLists, int32_t selected)
        : options(labelLists), selected(selected)
    {
    }

    int getType() const override { return Choice; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataChoice(*this); }
    // Only the selected index counts: option texts are presentation.
    bool isEqualTo(ImageModVariableData const* other) const override;
    // Index of label within its list, searching the lists in order; -1 if none.
    int32_t indexOfLabel(GrowString const& label) const;
};

class ImageModVariableDataFile : public ImageModVariableData
{
public:
    GrowString path;
    GrowArray<GrowString> fileTypes;

    int getType() const override { return File; }
    ImageModVariableData* createCopy() const override { return new ImageModVariableDataFile(*this); }
    bool isEqualTo(ImageModVariableData const* other) const override;
};

// One user-adjustable parameter of a filter: a name, an optional display name
// and an owned payload.
class ImageModVariable
{
public:
    // attrA and attrB are presentation hints the engine only carries: copied
    // with the variable, never compared and never read by a filter. attrA 1
    // shows the variable in an editor, 0 hides it; attrB is 0 on a
    // compound's "Amount".
    int32_t attrA = 1;
    GrowString name;
    ImageModVariableData* data = nullptr;
    int32_t attrB = 10;
    GrowString* displayName = nullptr;

    ImageModVariable() = default;
    ImageModVariable(ImageModVariable const& other) { *this = other; }
    ImageModVariable& operator=(ImageModVariable const& other);
    ~ImageModVariable();

    static ImageModVariable makeFloat(char const* name, float value, float min, float max);
    static ImageModVariable makeCurve(char const* name, ToneCurve const& curve);
    static ImageModVariable makeColor(char const* name, OVRGBColor color);
    static ImageModVariable makeChoice(char const* name, GrowArray<GrowString> const& labels, int32_t selected);
    static ImageModVariable makeButton(char const* name);
    // A file path, empty, accepting files of the given extensions.
    static ImageModVariable makeFile(char const* name, std::initializer_list<char const*> fileTypes);

    // Whether an editor offers the variable to the user (crop points, for
    // one, are dragged rather than set by sliders).
    bool isShown() const { return attrA != 0; }
    void setShown(bool shown) { attrA = shown ? 1 : 0; }

    void setDisplayName(GrowString const& shown);
    GrowString const& shownName() const { return displayName ? *displayName : name; }
    void setData(ImageModVariableData* payload);

    void ensureCurveVariable();
    void ensureChoiceVariable();
    ImageModVariable& makeCurveVariable(ToneCurve const& curve);

    // Typed views of the payload; null when the payload is of another kind.
    ImageModVariableDataFloat* floatData() const;
    ImageModVariableDataCurve* curveData() const;
    ImageModVariableDataColor* colorData() const;
    ImageModVariableDataChoice* choiceData() const;
    ImageModVariableDataFile* fileData() const;

    // Same name, shown name and payload (a variable without payload matches).
    bool matches(ImageModVariable const& other) const;
};

GrowArray<GrowString> labelList(std::initializer_list<char const*> labels);
