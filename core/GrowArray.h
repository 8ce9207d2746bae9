#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

// The engine's one list type. Storage is made with array new, so every slot
// holds a default-constructed T; elements are copied by assignment. Capacity
// starts at 2 and doubles; nothing ever shrinks, removal only lowers count.
// Copies allocate exactly the source count (no spare slot), which the string
// and XML code rely on.
template <typename T>
class GrowArray
{
public:
    T* data = nullptr;
    int32_t count = 0;
    int32_t capacity = 0;

    GrowArray() = default;
    GrowArray(GrowArray const& other) { *this = other; }
    ~GrowArray() { release(); }

    GrowArray& operator=(GrowArray const& other)
    {
        if (this == &other)
            return *this;
        release();
        if (other.count > 0) {
            data = new T[other.count];
            capacity = other.count;
            for (int32_t i = 0; i < other.count; ++i)
                data[i] = other.data[i];
            count = other.count;
        }
        return *this;
    }

    T& operator[](int32_t i) { return data[i]; }
    T const& operator[](int32_t i) const { return data[i]; }

    // A null array loses any count it claimed: it restarts at capacity 2.
    void expand()
    {
        if (!data) {
            count = 0;
            capacity = 2;
            data = new T[2]();
            return;
        }
        std::size_t const kept = std::size_t(capacity > 0 ? capacity : 0);
        std::size_t const grownCapacity = std::size_t(capacity > 0 ? capacity : 1) * 2u;
        // The count is 32 bits: an array that would outgrow it fails as an
        // allocation does, rather than wrapping to a small buffer.
        if (grownCapacity > std::size_t(std::numeric_limits<int32_t>::max()))
            throw std::bad_alloc();
        T* grown = new T[grownCapacity]();
        std::copy_n(data, kept, grown);
        delete[] data;
        data = grown;
        capacity = int32_t(grownCapacity);
    }

    // Taken by value: the argument may live in this very array.
    void add(T value)
    {
        if (count > capacity - 1)
            expand();
        data[count++] = value;
    }

    void addOnce(T value)
    {
        if (indexOf(value) < 0)
            add(value);
    }

    int32_t indexOf(T const& value) const
    {
        for (int32_t i = 0; i < count; ++i)
            if (data[i] == value)
                return i;
        return -1;
    }

    // Insert always leaves one spare slot behind it, unlike add. An index
    // beyond count is accepted: the value lands there and count grows by one.
    void insert(int32_t index, T value)
    {
        while (capacity <= index)
            expand();
        while (count >= capacity - 1)
            expand();
        if (index == 0 && count > 0) {
            for (int32_t i = count; i > 0; --i)
                data[i] = data[i - 1];
        } else if (count > index) {
            for (int32_t i = count; i > index; --i)
                data[i] = data[i - 1];
        }
        data[index] = value;
        ++count;
    }

    void removeAt(int32_t index)
    {
        if (index < 0 || index >= count)
            return;
        for (int32_t i = index; i < count - 1; ++i)
            data[i] = data[i + 1];
        --count;
    }

    T& last() { return data[count - 1]; }
    T const& last() const { return data[count - 1]; }

    // Frees the storage; the array reads as never used.
    void release()
    {
        delete[] data;
        data = nullptr;
        count = 0;
        capacity = 0;
    }

    T* begin() { return data; }
    T* end() { return data + count; }
    T const* begin() const { return data; }
    T const* end() const { return data + count; }
};
