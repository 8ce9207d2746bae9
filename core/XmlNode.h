#pragma once

#include <cstdio>

#include "core/GrowArray.h"
#include "core/GrowString.h"

// What one document may hold at most, so that no file (a hostile one
// included) can exhaust the stack, the memory or the time of its reader.
// Real presets and preferences are a few kilobytes and a few levels deep.
struct XmlLimits
{
    long maxBytes = 16L << 20;
    int maxDepth = 64;
    int maxElements = 100000;
    int maxAttributes = 64; // per element
};

// A small XML tree for presets and preferences: no namespaces, entities,
// escaping or validation, and a forgiving nesting rule. A document is an
// unnamed root whose subnodes are the file's top-level elements.
class XmlNode
{
public:
    static XmlNode const blankStaticNode;

    GrowArray<XmlNode> subnodes;
    GrowString text;
    GrowString name;
    GrowArray<GrowString> parameterNames;
    GrowArray<GrowString> parameterValues;

    // Appends the file's top-level elements to subnodes. A file that cannot
    // be opened adds nothing.
    void loadSubnodesFromFile(GrowString const& path);
    // Same parse over bytes already in memory.
    void loadSubnodesFromBuffer(char const* bytes, long size);
    // The same two within limits, saying what went wrong: false with the
    // reason in *problem when the file is not a readable regular file, or
    // when the document goes beyond a limit (the parse stops there, keeping
    // what it had read).
    bool readSubnodesFromFile(GrowString const& path, XmlLimits const& limits, GrowString* problem);
    bool readSubnodesFromBuffer(char const* bytes, long size, XmlLimits const& limits, GrowString* problem);
    void writeToFile(FILE* f, int indent) const;

    // Setting an existing attribute moves it to the end of the order.
    void addParameter(GrowString const& parameterName, GrowString const& value);
    GrowString getParameterVal(GrowString const& parameterName) const;
    bool hasParameter(GrowString const& parameterName) const;

    // First direct child with the given name, or null.
    XmlNode* findSubnode(GrowString const& childName);
};
