// A string-keyed bag of typed values that travels with a buffer.
#pragma once

#include <lx2/Export.h>
#include <lx2/LX2Status.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <variant>

namespace lx2 {

// Keys are unique. No locking: the owner serialises access.
class Bundle {
  public:
    // One tagged value. The tag is the position of the value's type in this list; readers of an
    // item of another tag than theirs treat it like a missing key.
    class Item {
      public:
        enum Tag : uint32_t {
            INT32 = 1,
            UINT32 = 2,
            INT64 = 3,
            UINT64 = 4,
            DOUBLE = 5,
            STRING = 6
        };

        explicit Item(int32_t value) : mValue(value) {}
        explicit Item(uint32_t value) : mValue(value) {}
        explicit Item(int64_t value) : mValue(value) {}
        explicit Item(uint64_t value) : mValue(value) {}
        explicit Item(double value) : mValue(value) {}
        explicit Item(std::string value) : mValue(std::move(value)) {}

        uint32_t tag() const { return static_cast<uint32_t>(mValue.index()); }

        // The value when the item holds exactly this type, else null.
        template <typename T>
        const T* get() const {
            return std::get_if<T>(&mValue);
        }

      private:
        using Value =
            std::variant<std::monostate, int32_t, uint32_t, int64_t, uint64_t, double, std::string>;
        template <Tag kTag, typename T>
        static constexpr bool kAgree = std::is_same_v<std::variant_alternative_t<kTag, Value>, T>;
        static_assert(kAgree<INT32, int32_t> && kAgree<UINT32, uint32_t> &&
                      kAgree<INT64, int64_t> && kAgree<UINT64, uint64_t> &&
                      kAgree<DOUBLE, double> && kAgree<STRING, std::string>);

        Value mValue;
    };

    using Map = std::unordered_map<std::string, Item>;

    // Stores value under key, in place of an entry that is there.
    // C2_OK; LX2_ERROR, with an error line, when the entry could not be inserted.
    template <typename T>
    LX2Status put(const std::string& key, T value) {
        const auto former = mItems.extract(key);  // holds the string that key may refer to
        if (mItems.emplace(key, Item(std::move(value))).second)
            return C2_OK;
        LogEmplaceFailure(key);
        return LX2_ERROR;
    }

    // The stored value; null when the key is missing or holds another type. Good until the entry is
    // replaced.
    template <typename T>
    const T* find(const std::string& key) const {
        const auto it = mItems.find(key);
        return it == mItems.end() ? nullptr : it->second.template get<T>();
    }

    // The stored value, or a fallback.
    template <typename T>
    T get(const std::string& key, T fallback) const {
        const T* value = find<T>(key);
        return value != nullptr ? *value : fallback;
    }

    // Inserts a copy of item unless the key is there already; tells whether it did.
    bool emplace(const std::string& key, const Item& item) {
        return mItems.emplace(key, item).second;
    }

    Map::const_iterator find(const std::string& key) const { return mItems.find(key); }
    Map::const_iterator begin() const { return mItems.begin(); }
    Map::const_iterator end() const { return mItems.end(); }
    size_t size() const { return mItems.size(); }

  private:
    LX2_API static void LogEmplaceFailure(const std::string& key);

    Map mItems;
};

}  // namespace lx2
