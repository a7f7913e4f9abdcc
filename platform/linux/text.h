// How the platform compares letters without regard to case.
#ifndef LINUX_TEXT_H
#define LINUX_TEXT_H

namespace vrplatform {

// The byte, with the letters A to Z made a to z.
inline int FoldCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

}  // namespace vrplatform

#endif
