#include "mods/ImageModXML.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "mods/ImageModCompound.h"

namespace {

double parseDecimal(GrowString const& text)
{
    return std::strtod(text.c_str(), nullptr);
}

// A version attribute truncated toward zero; text that is not a number in
// the int range gives the default version 1.
int versionFrom(GrowString const& text)
{
    double const v = parseDecimal(text);
    if (!(v > -2147483648.0 && v < 2147483648.0))
        return 1;
    return int(v);
}

void storeAttribute(ImageMod* mod, XmlNode const& child)
{
    GrowString const key = child.getParameterVal("name");
    for (int i = 0; i < mod->stringListA.count; ++i)
        if (mod->stringListA[i] == key) {
            while (mod->stringListB.count <= i)
                mod->stringListB.add(GrowString());
            mod->stringListB[i] = child.text;
            return;
        }
    mod->stringListA.add(key);
    mod->stringListB.add(child.text);
}

// Up to 80 characters of a name, for one line of a message: a preset may
// hold names of any length.
std::string shortened(GrowString const& text)
{
    std::string s(text.c_str());
    return s.size() > 80 ? s.substr(0, 77) + "..." : s;
}

// A number as a person writes it: 1000000 rather than 1e+06.
std::string numberText(double v)
{
    char text[64];
    if (std::isfinite(v) && std::fabs(v) < 1e15 && v == std::floor(v))
        std::snprintf(text, sizeof text, "%.0f", v);
    else
        std::snprintf(text, sizeof text, "%g", v);
    return text;
}

char const* kindName(int type)
{
    switch (type) {
    case ImageModVariableData::Float: return "a number";
    case ImageModVariableData::Curve: return "a curve";
    case ImageModVariableData::Color: return "a color";
    case ImageModVariableData::Button: return "a button";
    case ImageModVariableData::Choice: return "a choice";
    case ImageModVariableData::File: return "a file";
    default: return "nothing";
    }
}

// Notes for the preset's author; every note starts with the filter's name.
class VariableReader
{
public:
    VariableReader(ImageMod* mod, ImageModVariable* v, PresetReadReport* report)
        : mod(mod), v(v), report(report)
    {
    }

    void readFloat(GrowString const& text)
    {
        expectKind(ImageModVariableData::Float);
        float const value = float(parseDecimal(text));
        if (!v->floatData())
            v->setData(new ImageModVariableDataFloat(0.0f, 0.0f, 1.0f));
        ImageModVariableDataFloat* f = v->floatData();
        f->value = value;
        if (!std::isfinite(value))
            warn(shortened(v->name) + " " + numberText(value) + " is not a number; the default is used");
        else if (f->min < f->max && (value < f->min || value > f->max) && !(v->name == remixVariableName))
            warn(shortened(v->name) + " " + numberText(value) + " is outside " + rangeText(*f));
    }

    void readChoice(GrowString const& text)
    {
        expectKind(ImageModVariableData::Choice);
        v->ensureChoiceVariable();
        ImageModVariableDataChoice* choice = v->choiceData();
        int32_t const index = choice->indexOfLabel(text);
        if (index >= 0)
            choice->selected = index;
        else
            mistake("\"" + shortened(v->name) + "\" has no option \"" + shortened(text) + "\"");
    }

    void readFile(GrowString const& text)
    {
        expectKind(ImageModVariableData::File);
        if (!v->fileData())
            v->setData(new ImageModVariableDataFile());
        v->fileData()->path = text;
    }

    void readColour(GrowString const& text)
    {
        float numbers[3];
        int count = 0;
        int32_t position = 0;
        for (GrowString word = text.wordRespectingQuotesAt(&position); !word.isEmpty();
             word = text.wordRespectingQuotesAt(&position)) {
            if (count < 3)
                numbers[count] = float(parseDecimal(word));
            ++count;
        }
        if (count < 3) {
            mistake("\"" + shortened(v->name) + "\" needs three numbers (red, green, blue); it is ignored");
            return;
        }
        expectKind(ImageModVariableData::Color);
        if (!v->colorData())
            v->setData(new ImageModVariableDataColor());
        v->colorData()->color = OVRGBColor(numbers[0], numbers[1], numbers[2], 255.0f);
        if (!v->colorData()->color.isFinite())
            warn(shortened(v->name) + " is not three numbers; the default is used");
    }

    void readCurve(GrowString const& text, GrowString const& hueOffset)
    {
        GrowArray<Point2D> points;
        int32_t position = 0;
        for (;;) {
            GrowString const x = text.wordRespectingQuotesAt(&position);
            GrowString const y = text.wordRespectingQuotesAt(&position);
            if (x.isEmpty())
                break;
            if (!y.isEmpty())
                points.add(Point2D{float(parseDecimal(x)), float(parseDecimal(y))});
            if (points.count > report->maxCurvePoints) {
                mistake("\"" + shortened(v->name) + "\" has more than " + std::to_string(report->maxCurvePoints) +
                        " points; it is ignored");
                return;
            }
        }
        if (points.count < 2) {
            mistake("\"" + shortened(v->name) + "\" needs at least two points; it is ignored");
            return;
        }
        expectKind(ImageModVariableData::Curve);
        ToneCurve curve(points.count - 2);
        if (!hueOffset.isEmpty())
            curve.hueOffset = float(parseDecimal(hueOffset));
        curve.setControlPointsAsGiven(points);
        v->ensureCurveVariable();
        v->curveData()->curve = curve;
        if (!curve.isFinite())
            warn(shortened(v->name) + " has points that are not numbers; the default is used");
    }

    void mistake(std::string const& text) { report->mistakes.add(GrowString(prefixed(text).c_str())); }
    void warn(std::string const& text) { report->warnings.add(GrowString(prefixed(text).c_str())); }

private:
    ImageMod* mod;
    ImageModVariable* v;
    PresetReadReport* report;

    std::string prefixed(std::string const& text) const { return shortened(mod->name) + ": " + text; }

    static std::string rangeText(ImageModVariableDataFloat const& f)
    {
        return f.min < 0.0f ? numberText(f.min) + " to " + numberText(f.max)
                            : numberText(f.min) + "-" + numberText(f.max);
    }

    // The format replaces a variable's kind when the preset gives another:
    // the author should know, since the filter then reads its fallback.
    void expectKind(int type)
    {
        if (v->data && v->data->getType() != type)
            mistake("\"" + shortened(v->name) + "\" holds " + kindName(v->data->getType()) + ", but the preset gives " +
                    kindName(type));
    }
};

void readVariable(ImageMod* mod, XmlNode const& child, PresetReadReport* report)
{
    GrowString const name = child.getParameterVal("name");
    int const index = mod->indexOfVar(name.c_str());
    if (index < 0) {
        report->mistakes.add(GrowString((shortened(mod->name) + ": no variable \"" + shortened(name) +
                                         "\"; it is ignored").c_str()));
        return;
    }
    VariableReader reader(mod, mod->vars[index], report);
    GrowString const type = child.getParameterVal("type");
    if (type == "float")
        reader.readFloat(child.text);
    else if (type == "choice")
        reader.readChoice(child.text);
    else if (type == "file")
        reader.readFile(child.text);
    else if (type == "color")
        reader.readColour(child.text);
    else if (type == "curve")
        reader.readCurve(child.text, child.getParameterVal("hueOffset"));
    else
        reader.mistake("\"" + shortened(name) + "\" has an unknown type \"" + shortened(type) + "\"; it is ignored");
    mod->notifyVarChanged(index);
}

// The size a copy of mod would have: filters counted through compounds and
// the depth of their nesting. Counting stops as soon as a bound is passed,
// so measuring a hostile tree costs no more than the bounds themselves.
struct Expansion
{
    int filters = 0;
    int depth = 0;
};

void measure(ImageMod const* mod, int depth, PresetReadReport const& bounds, int filterBudget, Expansion* e)
{
    ++e->filters;
    e->depth = std::max(e->depth, depth);
    if (e->filters > filterBudget || depth > bounds.maxCompoundDepth)
        return;
    if (mod->getModCategory() != ImageMod::CategoryCompound)
        return;
    for (ImageMod const* sub : static_cast<ImageModCompound const*>(mod)->subMods) {
        measure(sub, depth + 1, bounds, filterBudget, e);
        if (e->filters > filterBudget || e->depth > bounds.maxCompoundDepth)
            return;
    }
}

// Whether a filter of that size may still be built; sets the refusal if not.
bool withinBounds(ImageMod const* mod, PresetReadReport* report)
{
    int const budget = report->maxFilters - report->filtersBuilt;
    Expansion e;
    measure(mod, 0, *report, budget, &e);
    if (e.filters > budget) {
        report->refusal = GrowString(("more than " + std::to_string(report->maxFilters) +
                                      " filters once its compounds are expanded").c_str());
        return false;
    }
    if (e.depth > report->maxCompoundDepth) {
        report->refusal = GrowString(("compounds nested more than " + std::to_string(report->maxCompoundDepth) +
                                      " deep").c_str());
        return false;
    }
    report->filtersBuilt += e.filters;
    return true;
}

ImageMod* lastNamed(GrowArray<ImageMod*> const& list, GrowString const& name, int* impliedVersion)
{
    ImageMod* found = nullptr;
    for (ImageMod* candidate : list) {
        int implied = 0;
        if (candidate && candidate->answersToName(name, &implied)) {
            found = candidate;
            *impliedVersion = implied;
        }
    }
    return found;
}

ImageMod* buildMod(XmlNode* node, GrowArray<ImageMod*> const& compounds, GrowArray<ImageMod*> const& prototypes,
                   int* error, PresetReadReport* report)
{
    if (!report->refusal.isEmpty())
        return nullptr;
    GrowString const name = node->getParameterVal("name");
    bool const enabled = !node->hasParameter("enabled") || parseDecimal(node->getParameterVal("enabled")) != 0.0;
    int impliedVersion = 0;
    ImageMod* found = lastNamed(compounds, name, &impliedVersion);
    if (!found)
        found = lastNamed(prototypes, name, &impliedVersion);
    if (!found) {
        if (error)
            *error = 2;
        report->unknownFilters.add(name);
        return nullptr;
    }
    if (!withinBounds(found, report)) {
        if (error)
            *error = 3;
        return nullptr;
    }
    ImageMod* mod = found->createCopy();
    int const version = node->hasParameter("version") ? versionFrom(node->getParameterVal("version"))
                                                      : (impliedVersion ? impliedVersion : 1);
    mod->enabled = enabled ? 1 : 0;
    mod->setVersion(version);
    for (XmlNode const& child : node->subnodes) {
        if (child.name == "attr")
            storeAttribute(mod, child);
        else if (child.name == "var")
            readVariable(mod, child, report);
    }
    return mod;
}

GrowArray<ImageMod*> buildMods(XmlNode* node, GrowArray<ImageMod*>* compounds, GrowArray<ImageMod*> const& prototypes,
                               int* error, PresetReadReport* report)
{
    GrowArray<ImageMod*> result;
    for (XmlNode& child : node->subnodes) {
        if (!report->refusal.isEmpty())
            break;
        if (child.name == "mod") {
            if (ImageMod* mod = buildMod(&child, *compounds, prototypes, error, report))
                result.add(mod);
        } else if (child.name == "submod") {
            GrowArray<ImageMod*> subs = buildMods(&child, compounds, prototypes, error, report);
            auto* compound = new ImageModCompound(child.getParameterVal("name").c_str());
            for (ImageMod* sub : subs)
                compound->addSubMod(sub);
            compounds->add(compound);
        }
    }
    GrowArray<GrowString> replaced;
    arrangeChain(&result, &replaced);
    for (GrowString const& name : replaced)
        report->warnings.add(GrowString(("a second \"" + std::string(name.c_str()) +
                                         "\" replaces the first; only one may stand in a chain").c_str()));
    return result;
}

} // namespace

ImageMod* createModFromXML(XmlNode* node, GrowArray<ImageMod*> const& compounds,
                           GrowArray<ImageMod*> const& prototypes, int* error, PresetReadReport* report)
{
    PresetReadReport local;
    return buildMod(node, compounds, prototypes, error, report ? report : &local);
}

GrowArray<ImageMod*> createModsFromXML(XmlNode* node, GrowArray<ImageMod*>* compounds,
                                       GrowArray<ImageMod*> const& prototypes, int* error,
                                       PresetReadReport* report)
{
    PresetReadReport local;
    return buildMods(node, compounds, prototypes, error, report ? report : &local);
}
