#pragma once

#include "core/GrowArray.h"

// The engine's text type: a GrowArray<char> whose count includes the
// terminating NUL after every operation it performs. A string that was only
// constructed (no storage) reads as "".
class GrowString : public GrowArray<char>
{
public:
    static GrowString const staticEmptyString;

    GrowString() = default;
    GrowString(char const* text) { *this = text; }
    GrowString(GrowString const& other);
    explicit GrowString(GrowArray<char> const& chars);

    GrowString& operator=(char const* text);
    GrowString& operator=(GrowString const& other);

    GrowString operator+(char const* text) const;
    GrowString operator+(GrowString const& other) const { return *this + other.c_str(); }
    GrowString& operator+=(char const* text);
    GrowString& operator+=(GrowString const& other) { return *this += other.c_str(); }
    GrowString& operator+=(char c);

    bool operator==(GrowString const& other) const;
    bool operator!=(GrowString const& other) const { return !(*this == other); }
    bool operator==(char const* text) const { return *this == GrowString(text); }
    bool operator!=(char const* text) const { return !(*this == text); }

    // The text as a C string; an untouched string gives "".
    char const* c_str() const;
    // Characters before the first NUL.
    int32_t length() const;
    bool isEmpty() const { return length() == 0; }

    void ensureTermination();
    // Removes exactly one character, the one at start (nothing when start is
    // outside the string): the XML reader strips quotes one at a time.
    void removeChars(int32_t start);
    GrowString swapOccurrencesConst(GrowString const& find, GrowString const& replace) const;
    // Returns the first word (space, tab and line feed separate words; a
    // stretch inside double quotes does not split) and keeps the rest.
    GrowString takeWordRespectingQuotes();
    // The same words without consuming the string: returns the word that
    // starts at or after *position and moves *position past it and one
    // separator, so a loop reads a whole text in one pass. An empty word
    // means the text is exhausted.
    GrowString wordRespectingQuotesAt(int32_t* position) const;

    bool startsWith(char c) const { return length() > 0 && data[0] == c; }
    bool endsWith(char c) const { return length() > 0 && data[length() - 1] == c; }
    // Index of the last occurrence of c in the visible text, or -1.
    int32_t lastIndexOf(char c) const;
    // Characters [from, to) of the visible text.
    GrowString substring(int32_t from, int32_t to) const;

private:
    int32_t firstNul() const;
    void appendRaw(char c);
};

bool operator==(char const* text, GrowString const& s);
