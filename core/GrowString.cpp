#include "core/GrowString.h"

#include <cstring>

GrowString const GrowString::staticEmptyString("");

namespace {

bool isWordSeparator(char c)
{
    return c == ' ' || c == '\t' || c == '\n';
}

} // namespace

GrowString::GrowString(GrowString const& other)
    : GrowArray<char>()
{
    if (other.count > 0) {
        data = new char[other.count];
        capacity = other.count;
        std::memcpy(data, other.data, other.count);
        count = other.count;
    }
}

GrowString::GrowString(GrowArray<char> const& chars)
{
    data = new char[chars.count + 2]();
    capacity = chars.count + 2;
    if (chars.count > 0)
        std::memcpy(data, chars.data, chars.count);
    count = chars.count;
    ensureTermination();
}

GrowString& GrowString::operator=(char const* text)
{
    if (!text)
        return *this;
    GrowString fresh;
    int32_t const n = static_cast<int32_t>(std::strlen(text));
    fresh.data = new char[n + 2]();
    fresh.capacity = n + 2;
    for (int32_t i = 0; i < n; ++i)
        fresh.add(text[i]);
    fresh.ensureTermination();
    // text may point into this string, so it is read before the swap.
    release();
    data = fresh.data;
    count = fresh.count;
    capacity = fresh.capacity;
    fresh.data = nullptr;
    fresh.count = fresh.capacity = 0;
    return *this;
}

GrowString& GrowString::operator=(GrowString const& other)
{
    if (this == &other)
        return *this;
    release();
    if (other.count > 0) {
        data = new char[other.count];
        capacity = other.count;
        std::memcpy(data, other.data, other.count);
        count = other.count;
    }
    ensureTermination();
    return *this;
}

GrowString GrowString::operator+(char const* text) const
{
    GrowArray<char> joined;
    int32_t const own = length();
    for (int32_t i = 0; i < own; ++i)
        joined.add(data[i]);
    if (text)
        for (char const* p = text; *p; ++p)
            joined.add(*p);
    return GrowString(joined);
}

GrowString& GrowString::operator+=(char const* text)
{
    *this = *this + text;
    ensureTermination();
    return *this;
}

GrowString& GrowString::operator+=(char c)
{
    int32_t const nul = firstNul();
    if (nul >= 0 && c != '\0')
        insert(nul, c);
    else
        appendRaw(c);
    ensureTermination();
    return *this;
}

bool GrowString::operator==(GrowString const& other) const
{
    int32_t const a = length();
    int32_t const b = other.length();
    if (a == 0 && b == 0)
        return true;
    if (a == 0 || b == 0 || count != other.count)
        return false;
    return std::memcmp(data, other.data, count) == 0;
}

bool operator==(char const* text, GrowString const& s)
{
    return s == text;
}

char const* GrowString::c_str() const
{
    if (count >= 1)
        return data;
    // Static strings may be read before the shared empty string exists.
    return staticEmptyString.count >= 1 ? staticEmptyString.data : "";
}

int32_t GrowString::firstNul() const
{
    for (int32_t i = 0; i < count; ++i)
        if (data[i] == '\0')
            return i;
    return -1;
}

int32_t GrowString::length() const
{
    int32_t const nul = firstNul();
    return nul >= 0 ? nul : count;
}

// Stores c at index count, doubling as needed.
void GrowString::appendRaw(char c)
{
    if (count > capacity - 1)
        expand();
    data[count++] = c;
}

void GrowString::ensureTermination()
{
    if (count == 0) {
        if (!data || capacity <= 0)
            expand();
        data[0] = '\0';
        count = 1;
        return;
    }
    int32_t const nul = firstNul();
    if (nul == count - 1)
        return;
    if (nul >= 1) {
        count = nul;
        appendRaw('\0');
        return;
    }
    // No NUL at all, or one at index 0 in a longer string: the old count is
    // kept and a terminator goes after it.
    appendRaw('\0');
}

void GrowString::removeChars(int32_t start)
{
    if (start < 0 || start >= count)
        return;
    // Appending character by character to "" keeps every non-NUL character
    // in order and ends with one terminator; built here in one pass, with
    // the exact size a copy would have.
    int32_t kept = 0;
    for (int32_t i = 0; i < count; ++i)
        if (i != start && data[i] != '\0')
            ++kept;
    char* fresh = new char[kept + 1];
    int32_t at = 0;
    for (int32_t i = 0; i < count; ++i)
        if (i != start && data[i] != '\0')
            fresh[at++] = data[i];
    fresh[kept] = '\0';
    release();
    data = fresh;
    count = capacity = kept + 1;
}

GrowString GrowString::swapOccurrencesConst(GrowString const& find, GrowString const& replace) const
{
    GrowString result(*this);
    int32_t const findLength = find.count - 1;
    int32_t const replaceLength = replace.count - 1;
    if (findLength <= 0 || result.count <= 0) {
        result.ensureTermination();
        return result;
    }
    for (int32_t p = 0; p < result.count;) {
        bool matched = p + findLength <= result.count;
        for (int32_t k = 0; matched && k < findLength; ++k)
            matched = result.data[p + k] == find.data[k];
        if (!matched) {
            ++p;
            continue;
        }
        for (int32_t i = p; i + findLength < result.count; ++i)
            result.data[i] = result.data[i + findLength];
        result.count -= findLength;
        for (int32_t k = 0; k < replaceLength; ++k)
            result.insert(p + k, replace.data[k]);
        p += replaceLength;
    }
    result.ensureTermination();
    return result;
}

GrowString GrowString::wordRespectingQuotesAt(int32_t* position) const
{
    // The visible text is what successive takes would see: a well-formed
    // string ends at its first NUL.
    int32_t const end = length();
    int32_t s = *position < 0 ? 0 : *position;
    while (s < end && isWordSeparator(data[s]))
        ++s;
    if (s >= end) {
        *position = end;
        return GrowString("");
    }
    int32_t quotes = data[s] == '"' ? 1 : 0;
    int32_t e = end - 1;
    for (int32_t i = s + 1; i < end; ++i) {
        if (data[i] == '"')
            ++quotes;
        else if (isWordSeparator(data[i]) && quotes % 2 == 0) {
            e = i - 1;
            break;
        }
    }
    GrowArray<char> word;
    word.data = new char[e - s + 1];
    word.capacity = e - s + 1;
    for (int32_t i = s; i <= e; ++i)
        word.data[word.count++] = data[i];
    *position = e + 2 < end ? e + 2 : end;
    return GrowString(word);
}

GrowString GrowString::takeWordRespectingQuotes()
{
    int32_t position = 0;
    GrowString const word = wordRespectingQuotesAt(&position);
    // Exactly one separator after the word is consumed; further whitespace
    // stays at the front of the rest, for the next take to skip.
    *this = substring(position, length());
    return word;
}

int32_t GrowString::lastIndexOf(char c) const
{
    for (int32_t i = length() - 1; i >= 0; --i)
        if (data[i] == c)
            return i;
    return -1;
}

GrowString GrowString::substring(int32_t from, int32_t to) const
{
    GrowArray<char> part;
    int32_t const end = to < length() ? to : length();
    for (int32_t i = from < 0 ? 0 : from; i < end; ++i)
        part.add(data[i]);
    return GrowString(part);
}
