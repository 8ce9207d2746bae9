#include <gtest/gtest.h>

#include <cstring>

#include "core/GrowString.h"

TEST(GrowArray, KeepsOrderWhileGrowingAndCopiesIndependently)
{
    GrowArray<int> a;
    for (int i = 0; i < 100; ++i)
        a.add(i * 3);
    ASSERT_EQ(a.count, 100);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(a[i], i * 3);

    GrowArray<int> copy = a;
    copy.add(-1);
    copy[0] = 42;
    EXPECT_EQ(copy.count, 101);
    EXPECT_EQ(a.count, 100) << "the copy is independent";
    EXPECT_EQ(a[0], 0);
}

TEST(GrowArray, InsertKeepsASpareSlotAndShiftsFromTheTop)
{
    GrowArray<int> a;
    a.add(10);
    a.add(30);
    a.insert(1, 20);
    ASSERT_EQ(a.count, 3);
    EXPECT_EQ(a[0], 10);
    EXPECT_EQ(a[1], 20);
    EXPECT_EQ(a[2], 30);
    EXPECT_GT(a.capacity, a.count);
    a.insert(0, 5);
    EXPECT_EQ(a[0], 5);
    EXPECT_EQ(a[3], 30);
}

TEST(GrowArray, AddOnceSkipsPresentElements)
{
    int x = 0, y = 0;
    GrowArray<int*> a;
    a.addOnce(&x);
    a.addOnce(&y);
    a.addOnce(&x);
    EXPECT_EQ(a.count, 2);
}

TEST(GrowString, UntouchedStringReadsAsEmpty)
{
    GrowString s;
    EXPECT_EQ(s.count, 0);
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_TRUE(s == GrowString(""));
    EXPECT_TRUE(GrowString("") == s);
}

TEST(GrowString, TerminationAndGrowth)
{
    GrowString s;
    s = "abc";
    EXPECT_EQ(s.count, 4);
    EXPECT_EQ(s.capacity, 5);
    s += 'd';
    EXPECT_STREQ(s.c_str(), "abcd");
    EXPECT_EQ(s.count, 5);
    EXPECT_EQ(s.capacity, 10) << "insert before the terminator keeps a spare slot";

    s += '\0';
    EXPECT_STREQ(s.c_str(), "abcd");
    EXPECT_EQ(s.count, 5) << "appending NUL leaves the text as it was";

    GrowString joined = s + "ef";
    EXPECT_STREQ(joined.c_str(), "abcdef");
    EXPECT_EQ(joined.count, 7);
    joined += "gh";
    EXPECT_STREQ(joined.c_str(), "abcdefgh");
    EXPECT_STREQ((joined + nullptr).c_str(), "abcdefgh");

    GrowString unchanged("keep");
    unchanged = static_cast<char const*>(nullptr);
    EXPECT_STREQ(unchanged.c_str(), "keep");
}

TEST(GrowString, EnsureTerminationCutsAtTheFirstNul)
{
    GrowArray<char> raw;
    for (char c : {'a', 'b', '\0', 'x', 'y'})
        raw.add(c);
    GrowString s(raw);
    EXPECT_STREQ(s.c_str(), "ab");
    EXPECT_EQ(s.count, 3);

    GrowArray<char> unterminated;
    for (char c : {'h', 'i'})
        unterminated.add(c);
    GrowString t(unterminated);
    EXPECT_EQ(t.count, 3);
    EXPECT_STREQ(t.c_str(), "hi");
}

TEST(GrowString, EqualityComparesVisibleTextAndCount)
{
    EXPECT_TRUE(GrowString("abc") == GrowString("abc"));
    EXPECT_FALSE(GrowString("abc") == GrowString("abd"));
    EXPECT_FALSE(GrowString("abc") == GrowString("ab"));
    EXPECT_FALSE(GrowString("") == GrowString("a"));
}

TEST(GrowString, RemoveCharsRemovesExactlyOneCharacter)
{
    GrowString s("hello");
    s.removeChars(0);
    EXPECT_STREQ(s.c_str(), "ello");
    s.removeChars(3);
    EXPECT_STREQ(s.c_str(), "ell");
    s.removeChars(-1);
    s.removeChars(40);
    EXPECT_STREQ(s.c_str(), "ell");
}

TEST(GrowString, SwapOccurrencesNeverRescansReplacements)
{
    GrowString const s("aaa");
    GrowString const swapped = s.swapOccurrencesConst("a", "aa");
    EXPECT_STREQ(swapped.c_str(), "aaaaaa");
    EXPECT_EQ(swapped.count, 7);
    EXPECT_STREQ(s.c_str(), "aaa") << "the original is untouched";

    GrowString const path("C:\\presets\\Warm_Summer.qmf");
    EXPECT_STREQ(path.swapOccurrencesConst("\\", "/").c_str(), "C:/presets/Warm_Summer.qmf");
    EXPECT_STREQ(GrowString("a_b_c").swapOccurrencesConst("_", " ").c_str(), "a b c");
    EXPECT_STREQ(GrowString("abcabc").swapOccurrencesConst("bc", "").c_str(), "aa");
    EXPECT_STREQ(GrowString("abc").swapOccurrencesConst("", "x").c_str(), "abc");
}

TEST(GrowString, WordsSplitOnSpaceTabAndLineFeedRespectingQuotes)
{
    GrowString s("  mod name=\"a b\" v=\"1\"");
    EXPECT_STREQ(s.takeWordRespectingQuotes().c_str(), "mod");
    EXPECT_STREQ(s.c_str(), "name=\"a b\" v=\"1\"");
    EXPECT_STREQ(s.takeWordRespectingQuotes().c_str(), "name=\"a b\"");
    EXPECT_STREQ(s.takeWordRespectingQuotes().c_str(), "v=\"1\"");
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_STREQ(s.takeWordRespectingQuotes().c_str(), "");

    GrowString tabbed("abc\tdef");
    EXPECT_STREQ(tabbed.takeWordRespectingQuotes().c_str(), "abc");
    EXPECT_STREQ(tabbed.c_str(), "def");

    GrowString windows("abc\r\ndef");
    EXPECT_STREQ(windows.takeWordRespectingQuotes().c_str(), "abc\r") << "carriage return is not a separator";
    EXPECT_STREQ(windows.c_str(), "def");

    GrowString doubled("a  b");
    EXPECT_STREQ(doubled.takeWordRespectingQuotes().c_str(), "a");
    EXPECT_STREQ(doubled.c_str(), " b") << "only one separator is consumed";
    EXPECT_STREQ(doubled.takeWordRespectingQuotes().c_str(), "b");

    GrowString blank("   ");
    EXPECT_STREQ(blank.takeWordRespectingQuotes().c_str(), "");
    EXPECT_STREQ(blank.c_str(), "");

    GrowString untouched;
    EXPECT_STREQ(untouched.takeWordRespectingQuotes().c_str(), "");
}
