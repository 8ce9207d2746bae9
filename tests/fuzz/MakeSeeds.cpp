// Writes the seed presets for the preset fuzz targets: one preset per
// registered filter, with every variable written out (so that every filter
// and variable is reachable by a small mutation), and a dictionary of the
// format's words and every filter and variable name.
#include <cstdio>
#include <fstream>
#include <string>

#include "extension/ImageModRegistry.h"

namespace {

std::string valueOf(ImageModVariable const& v)
{
    if (ImageModVariableDataFloat const* f = v.floatData())
        return "<var name=\"" + std::string(v.name.c_str()) + "\" type=\"float\">" +
               std::to_string(f->min + 0.7f * (f->max - f->min)) + "</var>";
    if (v.curveData())
        return "<var name=\"" + std::string(v.name.c_str()) + "\" type=\"curve\">0 0.1 0.4 0.6 1 0.9</var>";
    if (v.colorData())
        return "<var name=\"" + std::string(v.name.c_str()) + "\" type=\"color\">230 140 60</var>";
    if (ImageModVariableDataChoice const* c = v.choiceData())
        if (c->options.count > 0 && c->options[0].count > 1)
            return "<var name=\"" + std::string(v.name.c_str()) + "\" type=\"choice\">" +
                   c->options[0][c->options[0].count - 1].c_str() + "</var>";
    return "";
}

// One entry of a fuzzer dictionary: the word in quotes, with quotes and
// backslashes escaped.
std::string dictionaryEntry(std::string const& word)
{
    std::string entry = "\"";
    for (char c : word) {
        if (c == '"' || c == '\\')
            entry += '\\';
        entry += c;
    }
    return entry + "\"\n";
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_fuzz_seeds SEED_FOLDER DICTIONARY\n");
        return 2;
    }
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::ofstream dictionary(argv[2]);
    for (char const* word : {"<filter version=\"1\">", "</filter>", "<mod name=\"", "</mod>", "<submod name=\"",
                             "</submod>", "<var name=\"", "</var>", "<attr name=\"", "type=\"float\"",
                             "type=\"curve\"", "type=\"color\"", "type=\"choice\"", "type=\"file\"", "version=\"",
                             "enabled=\"0\"", "hueOffset=\"", " />", "nan", "inf", "-1e30", "1e30"})
        dictionary << dictionaryEntry(word);
    int index = 0;
    for (ImageMod* mod : prototypes) {
        std::string body = "<filter version=\"1\">\n<mod name=\"" + std::string(mod->name.c_str()) + "\" version=\"" +
                           std::to_string(mod->version) + "\">\n";
        for (ImageModVariable* v : mod->vars)
            body += "  " + valueOf(*v) + "\n";
        body += "</mod>\n</filter>\n";
        std::ofstream(std::string(argv[1]) + "/filter-" + std::to_string(index++) + ".qmf") << body;
        dictionary << dictionaryEntry(mod->name.c_str());
        for (ImageModVariable* v : mod->vars)
            dictionary << dictionaryEntry(v->name.c_str());
    }
    deleteMods(prototypes);
    return 0;
}
