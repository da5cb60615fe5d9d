// Bounded reads of little-endian fields from a recording's bytes.
#ifndef ZELCONV_IMPORT_LITTLEENDIAN_H
#define ZELCONV_IMPORT_LITTLEENDIAN_H

#include <cstring>
#include <string_view>

// The field of type T at `offset`, or 0 where it does not lie wholly in `bytes`.
template <typename T>
T fieldAt(std::string_view bytes, size_t offset)
{
    T value{};
    if (offset <= bytes.size() && sizeof value <= bytes.size() - offset)
        memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

#endif
