// The part of the Codec 2.0 support library's <C2Param.h> that says what a value is: counters and
// primitive values. Included by <C2Param.h>.
#pragma once

#include <cstdint>
#include <type_traits>

// A counter that wraps, such as a time stamp. Two counters compare by the sign of their difference,
// so the order holds around the wrap as long as they are less than half the range apart.
template <typename T>
struct c2_cntr_t {
    static_assert(std::is_unsigned_v<T>, "a counter is unsigned");
    using signed_t = std::make_signed_t<T>;

    constexpr c2_cntr_t(T value = 0) : mValue(value) {}

    constexpr signed_t peek() const { return static_cast<signed_t>(mValue); }
    constexpr T peeku() const { return mValue; }
    constexpr long long peekll() const { return peek(); }
    constexpr unsigned long long peekull() const { return mValue; }

    constexpr c2_cntr_t& operator+=(c2_cntr_t other) { return *this = *this + other; }
    constexpr c2_cntr_t& operator-=(c2_cntr_t other) { return *this = *this - other; }
    constexpr c2_cntr_t& operator++() { return *this += T{1}; }
    constexpr c2_cntr_t& operator--() { return *this -= T{1}; }

    friend constexpr c2_cntr_t operator+(c2_cntr_t a, c2_cntr_t b) {
        return static_cast<T>(a.mValue + b.mValue);
    }
    friend constexpr c2_cntr_t operator-(c2_cntr_t a, c2_cntr_t b) {
        return static_cast<T>(a.mValue - b.mValue);
    }
    friend constexpr bool operator==(c2_cntr_t a, c2_cntr_t b) { return a.mValue == b.mValue; }
    friend constexpr bool operator!=(c2_cntr_t a, c2_cntr_t b) { return !(a == b); }
    friend constexpr bool operator<(c2_cntr_t a, c2_cntr_t b) { return (a - b).peek() < 0; }
    friend constexpr bool operator>(c2_cntr_t a, c2_cntr_t b) { return b < a; }
    friend constexpr bool operator<=(c2_cntr_t a, c2_cntr_t b) { return !(b < a); }
    friend constexpr bool operator>=(c2_cntr_t a, c2_cntr_t b) { return !(a < b); }

  private:
    T mValue;
};
using c2_cntr32_t = c2_cntr_t<uint32_t>;
using c2_cntr64_t = c2_cntr_t<uint64_t>;

enum c2_bool_t : uint32_t { C2_FALSE = 0, C2_TRUE = 1 };

// What a value is.
class C2Value {
  public:
    enum type_t : uint32_t { NO_INIT, INT32, UINT32, CNTR32, INT64, UINT64, CNTR64, FLOAT };
    union Primitive {
        int32_t i32;
        uint32_t u32;
        c2_cntr32_t c32;
        int64_t i64;
        uint64_t u64;
        c2_cntr64_t c64;
        float fp;

        Primitive() : u64(0) {}
        Primitive(int32_t value) : Primitive() { i32 = value; }
        Primitive(uint32_t value) : Primitive() { u32 = value; }
        Primitive(c2_cntr32_t value) : Primitive() { c32 = value; }
        Primitive(int64_t value) : i64(value) {}
        Primitive(uint64_t value) : u64(value) {}
        Primitive(c2_cntr64_t value) : c64(value) {}
        Primitive(float value) : Primitive() { fp = value; }
    };

    // The kind of a number type or enumeration; NO_INIT for any other type.
    template <typename T>
    static constexpr type_t TypeFor() {
        if constexpr (std::is_enum_v<T>)
            return TypeFor<std::underlying_type_t<T>>();
        return std::is_same_v<T, int32_t>       ? INT32
               : std::is_same_v<T, uint32_t>    ? UINT32
               : std::is_same_v<T, c2_cntr32_t> ? CNTR32
               : std::is_same_v<T, int64_t>     ? INT64
               : std::is_same_v<T, uint64_t>    ? UINT64
               : std::is_same_v<T, c2_cntr64_t> ? CNTR64
               : std::is_same_v<T, float>       ? FLOAT
                                                : NO_INIT;
    }
};
