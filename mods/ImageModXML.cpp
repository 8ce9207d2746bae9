#include "mods/ImageModXML.h"

#include <cstdlib>

#include "mods/ImageModCompound.h"

namespace {

double parseDecimal(GrowString const& text)
{
    return std::strtod(text.c_str(), nullptr);
}

// A copy of the last entry of list that answers to name, or null; the
// version the name implies, if any, goes to *impliedVersion.
ImageMod* copyOfLastNamed(GrowArray<ImageMod*> const& list, GrowString const& name, int* impliedVersion)
{
    ImageMod* found = nullptr;
    for (ImageMod* candidate : list) {
        int implied = 0;
        if (candidate && candidate->answersToName(name, &implied)) {
            found = candidate;
            *impliedVersion = implied;
        }
    }
    return found ? found->createCopy() : nullptr;
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

void readFloat(ImageModVariable* v, GrowString const& text)
{
    float const value = float(parseDecimal(text));
    if (!v->floatData())
        v->setData(new ImageModVariableDataFloat(0.0f, 0.0f, 1.0f));
    v->floatData()->value = value;
}

void readChoice(ImageModVariable* v, GrowString const& text)
{
    v->ensureChoiceVariable();
    ImageModVariableDataChoice* choice = v->choiceData();
    int32_t const index = choice->indexOfLabel(text);
    if (index >= 0)
        choice->selected = index;
}

void readFile(ImageModVariable* v, GrowString const& text)
{
    if (!v->fileData())
        v->setData(new ImageModVariableDataFile());
    v->fileData()->path = text;
}

void readColour(ImageModVariable* v, GrowString text)
{
    float numbers[3];
    int count = 0;
    while (!text.isEmpty()) {
        GrowString const word = text.takeWordRespectingQuotes();
        if (count < 3)
            numbers[count] = float(parseDecimal(word));
        ++count;
    }
    if (count < 3)
        return;
    if (!v->colorData())
        v->setData(new ImageModVariableDataColor());
    v->colorData()->color = OVRGBColor(numbers[0], numbers[1], numbers[2], 255.0f);
}

void readCurve(ImageModVariable* v, GrowString text, GrowString const& hueOffset)
{
    GrowArray<Point2D> points;
    while (!text.isEmpty()) {
        GrowString const x = text.takeWordRespectingQuotes();
        GrowString const y = text.takeWordRespectingQuotes();
        if (!x.isEmpty() && !y.isEmpty())
            points.add(Point2D{float(parseDecimal(x)), float(parseDecimal(y))});
    }
    if (points.count < 2)
        return;
    ToneCurve curve(points.count - 2);
    if (!hueOffset.isEmpty())
        curve.hueOffset = float(parseDecimal(hueOffset));
    curve.setControlPoints(points);
    v->ensureCurveVariable();
    v->curveData()->curve = curve;
}

void readVariable(ImageMod* mod, XmlNode const& child)
{
    int const index = mod->indexOfVar(child.getParameterVal("name").c_str());
    if (index < 0)
        return;
    ImageModVariable* v = mod->vars[index];
    GrowString const type = child.getParameterVal("type");
    if (type == "float")
        readFloat(v, child.text);
    else if (type == "choice")
        readChoice(v, child.text);
    else if (type == "file")
        readFile(v, child.text);
    else if (type == "color")
        readColour(v, child.text);
    else if (type == "curve")
        readCurve(v, child.text, child.getParameterVal("hueOffset"));
    mod->notifyVarChanged(index);
}

} // namespace

ImageMod* createModFromXML(XmlNode* node, GrowArray<ImageMod*> const& compounds,
                           GrowArray<ImageMod*> const& prototypes, int* error, GrowArray<GrowString>* skippedNames)
{
    GrowString const name = node->getParameterVal("name");
    bool const enabled = !node->hasParameter("enabled") || parseDecimal(node->getParameterVal("enabled")) != 0.0;
    int impliedVersion = 0;
    ImageMod* mod = copyOfLastNamed(compounds, name, &impliedVersion);
    if (!mod)
        mod = copyOfLastNamed(prototypes, name, &impliedVersion);
    if (!mod) {
        if (error)
            *error = 2;
        if (skippedNames)
            skippedNames->add(name);
        return nullptr;
    }
    int const version = node->hasParameter("version") ? versionFrom(node->getParameterVal("version"))
                                                      : (impliedVersion ? impliedVersion : 1);
    mod->enabled = enabled ? 1 : 0;
    mod->setVersion(version);
    for (XmlNode const& child : node->subnodes) {
        if (child.name == "attr")
            storeAttribute(mod, child);
        else if (child.name == "var")
            readVariable(mod, child);
    }
    return mod;
}

GrowArray<ImageMod*> createModsFromXML(XmlNode* node, GrowArray<ImageMod*>* compounds,
                                       GrowArray<ImageMod*> const& prototypes, int* error,
                                       GrowArray<GrowString>* skippedNames)
{
    GrowArray<ImageMod*> result;
    for (XmlNode& child : node->subnodes) {
        if (child.name == "mod") {
            if (ImageMod* mod = createModFromXML(&child, *compounds, prototypes, error, skippedNames))
                result.add(mod);
        } else if (child.name == "submod") {
            GrowArray<ImageMod*> subs = createModsFromXML(&child, compounds, prototypes, error, skippedNames);
            auto* compound = new ImageModCompound(child.getParameterVal("name").c_str());
            for (ImageMod* sub : subs)
                compound->addSubMod(sub);
            compounds->add(compound);
        }
    }
    return result;
}
