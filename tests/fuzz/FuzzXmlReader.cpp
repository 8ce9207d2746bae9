// The XML reader over any bytes: it must stop within its limits, and what it
// read must write back out.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "core/XmlNode.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    XmlNode root;
    GrowString problem;
    root.readSubnodesFromBuffer(reinterpret_cast<char const*>(data), long(size), XmlLimits(), &problem);
    if (FILE* sink = std::fopen("/dev/null", "w")) {
        for (XmlNode const& node : root.subnodes)
            node.writeToFile(sink, 0);
        std::fclose(sink);
    }
    return 0;
}
