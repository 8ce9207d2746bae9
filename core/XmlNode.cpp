#include "core/XmlNode.h"

#include <cstring>

XmlNode const XmlNode::blankStaticNode;

namespace {

// One character of look-ahead and a way back over what was just read: all the
// reader needs from its input.
class XmlCursor
{
public:
    XmlCursor(char const* bytes, long size) : bytes(bytes), size(size) {}

    bool atEnd() const { return position >= size; }
    int peek() const { return atEnd() ? EOF : static_cast<unsigned char>(bytes[position]); }
    int get() { return atEnd() ? EOF : static_cast<unsigned char>(bytes[position++]); }
    long tell() const { return position; }
    void seek(long p) { position = p; }

private:
    char const* bytes;
    long size;
    long position = 0;
};

bool isSkippedSpace(int c)
{
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

// After "<!--": reads until "-->". Characters consumed by a failed test are
// not looked at again, so "--->" does not close the comment.
void skipComment(XmlCursor& in)
{
    while (!in.atEnd()) {
        if (in.get() != '-')
            continue;
        if (in.get() != '-')
            continue;
        if (in.get() == '>')
            return;
    }
}

bool skipCommentIfAny(XmlCursor& in)
{
    long const mark = in.tell();
    char opening[4] = {};
    for (char& c : opening) {
        int const got = in.get();
        c = got == EOF ? '\0' : static_cast<char>(got);
    }
    if (std::memcmp(opening, "<!--", 4) == 0) {
        skipComment(in);
        return true;
    }
    in.seek(mark);
    return false;
}

// Text runs to the next "<". Every ">" is dropped except a final one.
GrowString readText(XmlCursor& in, int first)
{
    GrowArray<char> raw;
    raw.add(static_cast<char>(first));
    while (!in.atEnd() && in.peek() != '<')
        raw.add(static_cast<char>(in.get()));
    GrowArray<char> kept;
    for (int32_t i = 0; i < raw.count; ++i)
        if (raw[i] != '>' || i == raw.count - 1)
            kept.add(raw[i]);
    return GrowString(kept);
}

GrowString readTagBuffer(XmlCursor& in)
{
    GrowArray<char> tag;
    while (!in.atEnd()) {
        int const c = in.get();
        if (c == '>')
            break;
        if (c != '<')
            tag.add(static_cast<char>(c));
    }
    return GrowString(tag);
}

// The value loses its first and last character, whatever they are: they are
// expected to be the quotes.
void readAttribute(GrowString word, XmlNode* node)
{
    int32_t const length = word.length();
    int32_t equals = -1;
    for (int32_t i = 0; i < length && equals < 0; ++i)
        if (word[i] == '=')
            equals = i;
    if (equals < 0) {
        node->addParameter(word, GrowString(""));
        return;
    }
    GrowString value = word.substring(equals + 1, length);
    value.removeChars(0);
    value.removeChars(value.length() - 1);
    node->addParameter(word.substring(0, equals), value);
}

class XmlReader
{
public:
    explicit XmlReader(XmlNode* root) : root(root), current(root) {}

    void parse(XmlCursor& in)
    {
        while (!in.atEnd()) {
            while (isSkippedSpace(in.peek()))
                in.get();
            if (in.atEnd())
                break;
            if (skipCommentIfAny(in))
                continue;
            int const c = in.get();
            if (c != '<')
                current->text = readText(in, c);
            else
                readTag(readTagBuffer(in));
        }
    }

private:
    XmlNode* root;
    XmlNode* current;
    GrowArray<XmlNode*> open;

    void readTag(GrowString tag)
    {
        bool const selfClosing = tag.endsWith('/');
        GrowString const word = tag.takeWordRespectingQuotes();
        if (word.isEmpty() || word.startsWith('?'))
            return;
        if (word.startsWith('/')) {
            popLevel();
            return;
        }
        if (!word.endsWith('/'))
            openElement(word);
        while (!tag.isEmpty()) {
            GrowString const attribute = tag.takeWordRespectingQuotes();
            if (!attribute.isEmpty())
                readAttribute(attribute, current);
        }
        if (selfClosing)
            popLevel();
    }

    void openElement(GrowString const& elementName)
    {
        XmlNode child;
        child.name = elementName;
        current->subnodes.add(child);
        current = &current->subnodes.last();
        open.add(current);
    }

    void popLevel()
    {
        if (open.count <= 1) {
            open.count = 0;
            current = root;
        } else {
            --open.count;
            current = open.last();
        }
    }
};

} // namespace

void XmlNode::loadSubnodesFromFile(GrowString const& path)
{
    if (path.isEmpty())
        return;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return;
    GrowArray<char> bytes;
    char chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, f)) > 0)
        for (size_t i = 0; i < got; ++i)
            bytes.add(chunk[i]);
    std::fclose(f);
    loadSubnodesFromBuffer(bytes.data, bytes.count);
}

void XmlNode::loadSubnodesFromBuffer(char const* bytes, long size)
{
    XmlCursor in(bytes, bytes ? size : 0);
    XmlReader(this).parse(in);
}

static void writeIndent(FILE* f, int indent)
{
    for (int i = 0; i < indent; ++i)
        std::fputs("  ", f);
}

void XmlNode::writeToFile(FILE* f, int indent) const
{
    writeIndent(f, indent);
    std::fprintf(f, "<%s", name.c_str());
    for (int32_t i = 0; i < parameterNames.count; ++i)
        std::fprintf(f, " %s=\"%s\"", parameterNames[i].c_str(), parameterValues[i].c_str());
    if (subnodes.count == 0) {
        std::fprintf(f, ">%s</%s>\n", text.c_str(), name.c_str());
        return;
    }
    std::fputs(">\n", f);
    for (XmlNode const& child : subnodes)
        child.writeToFile(f, indent + 1);
    if (text != "") {
        writeIndent(f, indent);
        std::fprintf(f, "%s\n", text.c_str());
    }
    writeIndent(f, indent);
    std::fprintf(f, "</%s>\n", name.c_str());
}

void XmlNode::addParameter(GrowString const& parameterName, GrowString const& value)
{
    for (int32_t i = 0; i < parameterNames.count; ++i) {
        if (parameterNames[i] == parameterName) {
            parameterNames.removeAt(i);
            parameterValues.removeAt(i);
            break;
        }
    }
    parameterNames.add(parameterName);
    parameterValues.add(value);
}

GrowString XmlNode::getParameterVal(GrowString const& parameterName) const
{
    for (int32_t i = 0; i < parameterNames.count; ++i)
        if (parameterNames[i] == parameterName)
            return parameterValues[i];
    return GrowString("");
}

bool XmlNode::hasParameter(GrowString const& parameterName) const
{
    for (GrowString const& n : parameterNames)
        if (n == parameterName)
            return true;
    return false;
}

XmlNode* XmlNode::findSubnode(GrowString const& childName)
{
    for (XmlNode& child : subnodes)
        if (child.name == childName)
            return &child;
    return nullptr;
}
