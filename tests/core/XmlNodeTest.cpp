#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "core/XmlNode.h"

namespace {

XmlNode parse(std::string const& text)
{
    XmlNode root;
    root.loadSubnodesFromBuffer(text.data(), long(text.size()));
    return root;
}

std::string writeToString(XmlNode const& node)
{
    FILE* f = std::tmpfile();
    node.writeToFile(f, 0);
    std::string out(size_t(std::ftell(f)), '\0');
    std::rewind(f);
    size_t const got = std::fread(out.data(), 1, out.size(), f);
    out.resize(got);
    std::fclose(f);
    return out;
}

XmlNode leaf(char const* name, char const* text)
{
    XmlNode n;
    n.name = name;
    n.text = text;
    return n;
}

// The "name" attributes of every "mod" element, in document order.
void collectModNames(XmlNode const& node, std::vector<std::string>* names)
{
    for (XmlNode const& child : node.subnodes) {
        if (child.name == "mod")
            names->push_back(child.getParameterVal("name").c_str());
        collectModNames(child, names);
    }
}

std::vector<std::string> modNames(XmlNode const& root)
{
    std::vector<std::string> names;
    collectModNames(root, &names);
    return names;
}

size_t elementCount(XmlNode const& node)
{
    size_t count = node.subnodes.count;
    for (XmlNode const& child : node.subnodes)
        count += elementCount(child);
    return count;
}

} // namespace

TEST(XmlWriter, WritesTheExactLayout)
{
    XmlNode a;
    a.name = "a";
    a.addParameter("k", "1");
    a.addParameter("m", "2");
    a.subnodes.add(leaf("b", "t"));
    EXPECT_EQ(writeToString(a), "<a k=\"1\" m=\"2\">\n  <b>t</b>\n</a>\n");

    EXPECT_EQ(writeToString(leaf("name", "")), "<name></name>\n") << "leaves are never self-closing";

    a.text = "tail";
    EXPECT_EQ(writeToString(a), "<a k=\"1\" m=\"2\">\n  <b>t</b>\ntail\n</a>\n");
}

TEST(XmlNode, AddParameterMovesAnExistingNameToTheEnd)
{
    XmlNode n;
    n.addParameter("x", "1");
    n.addParameter("y", "2");
    n.addParameter("x", "3");
    ASSERT_EQ(n.parameterNames.count, 2);
    EXPECT_STREQ(n.parameterNames[0].c_str(), "y");
    EXPECT_STREQ(n.parameterNames[1].c_str(), "x");
    EXPECT_STREQ(n.getParameterVal("x").c_str(), "3");
    GrowString const absent = n.getParameterVal("z");
    EXPECT_STREQ(absent.c_str(), "");
    EXPECT_EQ(absent.count, 1);
}

TEST(XmlRoundTrip, NestedTreeWithAttributesAndTextReadsBackTheSame)
{
    XmlNode filter;
    filter.name = "filter";
    filter.addParameter("version", "1");
    XmlNode mod;
    mod.name = "mod";
    mod.addParameter("name", "Tone Curve");
    XmlNode var = leaf("var", "0 0 0.25 0.2 1 1");
    var.addParameter("name", "Curve");
    var.addParameter("type", "curve");
    mod.subnodes.add(var);
    mod.subnodes.add(leaf("attr", "kept"));
    filter.subnodes.add(mod);
    filter.subnodes.add(leaf("empty", ""));

    char path[] = "/tmp/quillmere-xml-XXXXXX";
    int const fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    FILE* f = fdopen(fd, "w");
    filter.writeToFile(f, 0);
    std::fclose(f);

    XmlNode root;
    root.loadSubnodesFromFile(path);
    std::remove(path);
    ASSERT_EQ(root.subnodes.count, 1);
    XmlNode& readFilter = root.subnodes[0];
    EXPECT_STREQ(readFilter.name.c_str(), "filter");
    EXPECT_STREQ(readFilter.getParameterVal("version").c_str(), "1");
    ASSERT_EQ(readFilter.subnodes.count, 2);
    XmlNode& readMod = readFilter.subnodes[0];
    EXPECT_STREQ(readMod.getParameterVal("name").c_str(), "Tone Curve");
    ASSERT_EQ(readMod.subnodes.count, 2);
    EXPECT_STREQ(readMod.subnodes[0].text.c_str(), "0 0 0.25 0.2 1 1");
    EXPECT_STREQ(readMod.subnodes[0].getParameterVal("type").c_str(), "curve");
    EXPECT_STREQ(readMod.subnodes[1].text.c_str(), "kept");
    EXPECT_STREQ(readFilter.subnodes[1].name.c_str(), "empty");
    EXPECT_EQ(writeToString(readFilter), writeToString(filter));
}

TEST(XmlReader, SkipsDeclarationsAndComments)
{
    EXPECT_EQ(parse("<?xml version=\"1.0\"?>\n<!-- nothing here -->\n").subnodes.count, 0);

    XmlNode const tree = parse("<!-- a --><a><!-- b --><b x=\"1\">t</b></a>");
    ASSERT_EQ(tree.subnodes.count, 1);
    ASSERT_EQ(tree.subnodes[0].subnodes.count, 1);
    XmlNode const& b = tree.subnodes[0].subnodes[0];
    EXPECT_STREQ(b.getParameterVal("x").c_str(), "1");
    EXPECT_STREQ(b.text.c_str(), "t");

    // "--->" is deliberately not a comment end: the comment runs on to "-->".
    XmlNode const dashed = parse("<!-- x ---><a></a> --><b></b>");
    ASSERT_EQ(dashed.subnodes.count, 1);
    EXPECT_STREQ(dashed.subnodes[0].name.c_str(), "b");
}

TEST(XmlReader, ForgivesMalformedNesting)
{
    XmlNode const unclosed = parse("<a><b><c>text");
    ASSERT_EQ(unclosed.subnodes.count, 1);
    EXPECT_STREQ(unclosed.subnodes[0].subnodes[0].subnodes[0].text.c_str(), "text");

    XmlNode const stray = parse("</x></y><a></a>");
    ASSERT_EQ(stray.subnodes.count, 1);
    EXPECT_STREQ(stray.subnodes[0].name.c_str(), "a");

    XmlNode const mismatched = parse("<a><b></zzz><c></c></a>");
    ASSERT_EQ(mismatched.subnodes[0].subnodes.count, 2) << "any closer closes the innermost element";
}

TEST(XmlReader, AttributeQuirks)
{
    XmlNode const unquoted = parse("<a x=1 y='2' z=\"two words\"></a>");
    XmlNode const& a = unquoted.subnodes[0];
    EXPECT_STREQ(a.getParameterVal("x").c_str(), "") << "first and last characters are stripped";
    EXPECT_STREQ(a.getParameterVal("y").c_str(), "2");
    EXPECT_STREQ(a.getParameterVal("z").c_str(), "two words");

    XmlNode const selfClosing = parse("<a><b k=\"1\" /><c></c></a>");
    ASSERT_EQ(selfClosing.subnodes[0].subnodes.count, 2);
    EXPECT_TRUE(selfClosing.subnodes[0].subnodes[0].hasParameter("/"));

    // "<x/>" makes no node and closes the enclosing element.
    XmlNode const tight = parse("<a><x/><c></c></a>");
    ASSERT_EQ(tight.subnodes.count, 2);
    EXPECT_EQ(tight.subnodes[0].subnodes.count, 0);
    EXPECT_STREQ(tight.subnodes[1].name.c_str(), "c");

    XmlNode const entities = parse("<a>fish &amp; chips  </a>");
    EXPECT_STREQ(entities.subnodes[0].text.c_str(), "fish &amp; chips  ") << "no entity decoding; trailing space kept";
}

TEST(XmlReader, MissingFileAddsNothing)
{
    XmlNode root;
    root.loadSubnodesFromFile("/nonexistent/quillmere/none.qmf");
    root.loadSubnodesFromFile("");
    EXPECT_EQ(root.subnodes.count, 0);
}

TEST(XmlReader, TruncatedInputKeepsEveryElementClosedBeforeTheCut)
{
    std::string const valid =
        "<?xml version=\"1.0\"?>\n<filter version=\"1\">\n  <!-- note -->\n"
        "  <submod name=\"inner\"><mod name=\"Blur\"><var name=\"Amount\" type=\"float\">25</var></mod></submod>\n"
        "  <mod name=\"Tone Curve\" enabled=\"1\">\n    <var name=\"Curve\" type=\"curve\">0 0 .5 .6 1 1</var>\n"
        "    <attr name=\"note\">kept</attr>\n  </mod>\n  <mod name=\"Noise\"></mod>\n</filter>\n";
    std::vector<std::string> const all = modNames(parse(valid));
    ASSERT_EQ(all, (std::vector<std::string>{"Blur", "Tone Curve", "Noise"}));
    for (size_t n = 0; n <= valid.size(); ++n) {
        std::string const prefix = valid.substr(0, n);
        size_t closed = 0;
        for (size_t at = prefix.find("</mod>"); at != std::string::npos; at = prefix.find("</mod>", at + 1))
            ++closed;
        std::vector<std::string> const got = modNames(parse(prefix));
        ASSERT_GE(got.size(), closed) << "cut at " << n;
        EXPECT_TRUE(std::equal(all.begin(), all.begin() + long(closed), got.begin())) << "cut at " << n;
    }
}

TEST(XmlReader, RandomInputMakesNoMoreElementsThanTags)
{
    std::mt19937 random(1234);
    std::string const alphabet = "<>/!-?=\" \t\r\nabcmod";
    for (int round = 0; round < 300; ++round) {
        std::string noise(size_t(random() % 400), ' ');
        for (char& c : noise)
            c = (round % 2) ? char(random() % 256) : alphabet[random() % alphabet.size()];
        XmlNode const tree = parse(noise);
        EXPECT_LE(elementCount(tree), size_t(std::count(noise.begin(), noise.end(), '<')));
    }
}
