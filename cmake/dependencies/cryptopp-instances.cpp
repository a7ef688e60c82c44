// What the stream classes of Crypto++ need from files that would drag the rest of that library in:
// the extern templates, and two functions of its big-number code, which the streams name but never
// call with a big number.
#define CRYPTOPP_MANUALLY_INSTANTIATE_TEMPLATES
#include "algparam.h"
#include "filters.h"

NAMESPACE_BEGIN(CryptoPP)

bool AssignIntToInteger(const std::type_info&, void*, const void*) {
    return false;
}

template <>
std::string IntToString<word64>(word64 value, unsigned int base) {
    static const char digits[] = "0123456789abcdef";
    const word64 radix = base & 0xff;
    std::string text;
    do {
        text.insert(text.begin(), digits[value % radix]);
        value /= radix;
    } while (value != 0);
    return text;
}

NAMESPACE_END
