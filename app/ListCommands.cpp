// "quillmere presets" and "quillmere filters": what there is to use.
#include <QTextStream>

#include "app/CommandLine.h"
#include "extension/EditingSession.h"

namespace {

QString number(float v)
{
    return QString::number(double(v), 'g', 6);
}

QString describeFloat(ImageModVariableDataFloat const& f)
{
    // A range whose top is not above its bottom bounds only from below.
    QString text = f.min < f.max ? QString("number %1 to %2").arg(number(f.min), number(f.max))
                                 : QString("number from %1").arg(number(f.min));
    if (f.hasDisplayRange && (f.displayMin != f.min || f.displayMax != f.max))
        text += QString(" (shown %1 to %2)").arg(number(f.displayMin), number(f.displayMax));
    return text + ", default " + number(f.value);
}

QString describeChoice(ImageModVariableDataChoice const& c)
{
    QStringList labels;
    if (c.options.count > 0)
        for (GrowString const& label : c.options[0])
            labels << label.c_str();
    QString const selected = c.selected >= 0 && c.selected < labels.size() ? labels[c.selected] : QString();
    return "choice of " + labels.join(" | ") + ", default " + selected;
}

QString describeCurve(ToneCurve const& curve)
{
    QStringList points;
    for (Point2D const& p : curve.getControlPoints())
        points << number(p.x) + " " + number(p.y);
    return "curve, default " + points.join("  ");
}

QString describe(ImageModVariable const& v)
{
    if (ImageModVariableDataFloat const* f = v.floatData())
        return describeFloat(*f);
    if (ImageModVariableDataChoice const* c = v.choiceData())
        return describeChoice(*c);
    if (ImageModVariableDataCurve const* c = v.curveData())
        return describeCurve(c->curve);
    if (ImageModVariableDataColor const* c = v.colorData())
        return QString("color, default %1 %2 %3").arg(number(c->color.red), number(c->color.green), number(c->color.blue));
    if (v.fileData())
        return "file";
    return "button";
}

} // namespace

int runPresets(QStringList const& args)
{
    QCommandLineParser parser;
    int status = ExitOk;
    if (!parseCommand(parser, "presets", "List the presets in the order they are shown, with where each came from.",
                      args, &status))
        return status;
    EditingSession session;
    session.loadStandardPresets();
    QTextStream out(stdout);
    for (PresetLibrary::Entry const& entry : session.library.entries)
        out << qSetFieldWidth(22) << Qt::left << QString(entry.preset->name.c_str()) << qSetFieldWidth(0) << " "
            << entry.origin.c_str() << "  " << entry.path.c_str() << "\n";
    reportPresetProblems(session.library);
    return ExitOk;
}

int runFilters(QStringList const& args)
{
    QCommandLineParser parser;
    int status = ExitOk;
    if (!parseCommand(parser, "filters",
                      "List every filter a preset can use, with its variables, their ranges and defaults.", args,
                      &status))
        return status;
    EditingSession session;
    QTextStream out(stdout);
    for (ImageMod const* mod : session.prototypes) {
        out << mod->name.c_str();
        if (!(mod->displayName == mod->name))
            out << " (shown as \"" << mod->displayName.c_str() << "\")";
        out << ", version " << mod->version << "\n    " << mod->description.c_str() << "\n";
        for (ImageModVariable const* v : mod->vars) {
            out << "    " << qSetFieldWidth(20) << Qt::left << QString(v->name.c_str()) << qSetFieldWidth(0) << " "
                << describe(*v);
            if (!(v->shownName() == v->name))
                out << " (shown as \"" << v->shownName().c_str() << "\")";
            out << "\n";
        }
        out << "\n";
    }
    return ExitOk;
}
