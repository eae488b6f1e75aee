#include "TextValue.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <system_error>

namespace lx2 {

namespace {

template <typename T>
bool Read(const std::string& text, T* value) {
    const char* end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, *value);
    return read.ec == std::errc() && read.ptr == end;
}

// Not every platform's std::from_chars() reads floating point.
bool Read(const std::string& text, float* value) {
    if (text.empty() || isspace(static_cast<unsigned char>(text[0])) != 0)
        return false;
    char* end = nullptr;
    errno = 0;
    *value = std::strtof(text.c_str(), &end);
    const bool overflows = errno == ERANGE && std::fabs(*value) == HUGE_VALF;
    return !overflows && end == text.data() + text.size();
}

template <typename T>
LX2Status ReadNumber(const std::string& text, std::string* bytes) {
    T value{};
    if (!Read(text, &value))
        return C2_BAD_VALUE;
    bytes->assign(reinterpret_cast<const char*>(&value), sizeof(value));
    return C2_OK;
}

}  // namespace

LX2Status ReadText(const C2FieldDescriptor& field, const std::string& text, std::string* bytes) {
    switch (field.type()) {
        case C2FieldDescriptor::INT32:
            return ReadNumber<int32_t>(text, bytes);
        case C2FieldDescriptor::UINT32:
        case C2FieldDescriptor::CNTR32:
            return ReadNumber<uint32_t>(text, bytes);
        case C2FieldDescriptor::INT64:
            return ReadNumber<int64_t>(text, bytes);
        case C2FieldDescriptor::UINT64:
        case C2FieldDescriptor::CNTR64:
            return ReadNumber<uint64_t>(text, bytes);
        case C2FieldDescriptor::FLOAT:
            return ReadNumber<float>(text, bytes);
        case C2FieldDescriptor::STRING:
            if (field.extent() != 0 && text.size() >= field.extent())
                return C2_BAD_VALUE;
            bytes->assign(text.c_str(), text.size() + 1);
            return C2_OK;
        default:
            return C2_CANNOT_DO;
    }
}

}  // namespace lx2
