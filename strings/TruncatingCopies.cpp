#include <strings/TruncatingCopies.h>

#include <algorithm>
#include <cstring>

namespace truncating {

void PStrNCopy(const unsigned char* inSource, unsigned char* outDestination, short inMaxLength) {
    const int length = std::min<int>(inSource[0], inMaxLength);
    if (inSource != outDestination && length >= 0)
        std::memmove(outDestination, inSource, static_cast<std::size_t>(length) + 1);
    outDestination[0] = static_cast<unsigned char>(length);
}

void CStrNCopy(const char* inSource, char* outDestination, short inMaxLength) {
    if (inMaxLength <= 0) return;
    const std::size_t length = std::min(std::strlen(inSource), static_cast<std::size_t>(inMaxLength));
    if (inSource != outDestination) std::memmove(outDestination, inSource, length);
    outDestination[length] = '\0';
}

}  // namespace truncating
