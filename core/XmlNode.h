#pragma once

#include <cstdio>

#include "core/GrowArray.h"
#include "core/GrowString.h"

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
    void writeToFile(FILE* f, int indent) const;

    // Setting an existing attribute moves it to the end of the order.
    void addParameter(GrowString const& parameterName, GrowString const& value);
    GrowString getParameterVal(GrowString const& parameterName) const;
    bool hasParameter(GrowString const& parameterName) const;

    // First direct child with the given name, or null.
    XmlNode* findSubnode(GrowString const& childName);
};
