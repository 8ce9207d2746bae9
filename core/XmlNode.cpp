#include "core/XmlNode.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
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

// One line saying which limit a document went beyond.
GrowString beyondLimit(char const* format, long limit)
{
    char text[96];
    std::snprintf(text, sizeof text, format, limit);
    return GrowString(text);
}

GrowString sizeLimitProblem(long maxBytes)
{
    return maxBytes % (1L << 20) == 0 ? beyondLimit("larger than %ld MiB", maxBytes >> 20)
                                      : beyondLimit("larger than %ld bytes", maxBytes);
}

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
    XmlReader(XmlNode* root, XmlLimits const& limits) : root(root), current(root), limits(limits) {}

    // False, with the reason, when the document went beyond a limit.
    bool parse(XmlCursor& in, GrowString* problem)
    {
        while (!in.atEnd() && problem->isEmpty()) {
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
                readTag(readTagBuffer(in), problem);
        }
        return problem->isEmpty();
    }

private:
    XmlNode* root;
    XmlNode* current;
    XmlLimits const& limits;
    GrowArray<XmlNode*> open;
    int elements = 0;

    void readTag(GrowString const& tag, GrowString* problem)
    {
        bool const selfClosing = tag.endsWith('/');
        int32_t position = 0;
        GrowString const word = tag.wordRespectingQuotesAt(&position);
        if (word.isEmpty() || word.startsWith('?'))
            return;
        if (word.startsWith('/')) {
            popLevel();
            return;
        }
        if (!word.endsWith('/') && !openElement(word, problem))
            return;
        int attributes = 0;
        for (GrowString attribute = tag.wordRespectingQuotesAt(&position); !attribute.isEmpty();
             attribute = tag.wordRespectingQuotesAt(&position)) {
            if (++attributes > limits.maxAttributes) {
                *problem = beyondLimit("an element has more than %ld attributes", limits.maxAttributes);
                return;
            }
            readAttribute(attribute, current);
        }
        if (selfClosing)
            popLevel();
    }

    bool openElement(GrowString const& elementName, GrowString* problem)
    {
        if (open.count >= limits.maxDepth) {
            *problem = beyondLimit("elements are nested more than %ld deep", limits.maxDepth);
            return false;
        }
        if (++elements > limits.maxElements) {
            *problem = beyondLimit("more than %ld elements", limits.maxElements);
            return false;
        }
        XmlNode child;
        child.name = elementName;
        current->subnodes.add(child);
        current = &current->subnodes.last();
        open.add(current);
        return true;
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

// Reads a whole regular file of at most maxBytes.
bool readRegularFile(GrowString const& path, long maxBytes, GrowArray<char>* bytes, GrowString* problem)
{
    // Non-blocking, so that a FIFO is refused below instead of waiting for a
    // writer; for a regular file the flag changes nothing.
    int const fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        *problem = std::strerror(errno);
        return false;
    }
    struct stat info;
    bool ok = ::fstat(fd, &info) == 0;
    if (!ok)
        *problem = std::strerror(errno);
    else if (!S_ISREG(info.st_mode))
        *problem = S_ISDIR(info.st_mode) ? "is a folder" : "not a regular file";
    else if (info.st_size > maxBytes)
        *problem = sizeLimitProblem(maxBytes);
    ok = ok && problem->isEmpty();
    if (ok) {
        long const size = long(info.st_size);
        bytes->release();
        bytes->data = new char[size + 1];
        bytes->capacity = int32_t(size + 1);
        while (bytes->count < size) {
            ssize_t const got = ::read(fd, bytes->data + bytes->count, size_t(size - bytes->count));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0) {
                *problem = std::strerror(errno);
                ok = false;
            }
            if (got <= 0)
                break; // a file that shrank while read is taken as it was found
            bytes->count += int32_t(got);
        }
    }
    ::close(fd);
    return ok;
}

} // namespace

void XmlNode::loadSubnodesFromFile(GrowString const& path)
{
    GrowString ignored;
    readSubnodesFromFile(path, XmlLimits(), &ignored);
}

void XmlNode::loadSubnodesFromBuffer(char const* bytes, long size)
{
    GrowString ignored;
    readSubnodesFromBuffer(bytes, size, XmlLimits(), &ignored);
}

bool XmlNode::readSubnodesFromFile(GrowString const& path, XmlLimits const& limits, GrowString* problem)
{
    *problem = "";
    if (path.isEmpty()) {
        *problem = "no file named";
        return false;
    }
    GrowArray<char> bytes;
    if (!readRegularFile(path, limits.maxBytes, &bytes, problem))
        return false;
    return readSubnodesFromBuffer(bytes.data, bytes.count, limits, problem);
}

bool XmlNode::readSubnodesFromBuffer(char const* bytes, long size, XmlLimits const& limits, GrowString* problem)
{
    *problem = "";
    if (size > limits.maxBytes) {
        *problem = sizeLimitProblem(limits.maxBytes);
        return false;
    }
    XmlCursor in(bytes, bytes ? size : 0);
    return XmlReader(this, limits).parse(in, problem);
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
