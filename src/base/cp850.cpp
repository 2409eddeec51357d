// Code page 850 tables: see cp850.h. The tables are computed at compile
// time from the lists of letters and their partners below.
#include "base/cp850.h"

namespace cp850 {
namespace {

// Lower-case letter and its capital in the code page. 0x98 (y with
// diaeresis) has no capital of its own and goes to Y; the dotless i 0xD5 is
// not counted as a letter but goes to I as well. The sharp s 0xE1 has no
// partner.
const unsigned char pairs[][2] = {
    {0x81, 0x9A}, {0x82, 0x90}, {0x83, 0xB6}, {0x84, 0x8E}, {0x85, 0xB7}, {0x86, 0x8F},
    {0x87, 0x80}, {0x88, 0xD2}, {0x89, 0xD3}, {0x8A, 0xD4}, {0x8B, 0xD8}, {0x8C, 0xD7},
    {0x8D, 0xDE}, {0x91, 0x92}, {0x93, 0xE2}, {0x94, 0x99}, {0x95, 0xE3}, {0x96, 0xEA},
    {0x97, 0xEB}, {0x9B, 0x9D}, {0xA0, 0xB5}, {0xA1, 0xD6}, {0xA2, 0xE0}, {0xA3, 0xE9},
    {0xA4, 0xA5}, {0xC6, 0xC7}, {0xD0, 0xD1}, {0xE4, 0xE5}, {0xE7, 0xE8}, {0xEC, 0xED},
};
const unsigned char lower_only[] = {0xE1};

constexpr Tables build() {
    Tables t{};
    auto &cls = t.cls;
    auto &up = t.up;
    auto &low = t.low;
    {
        for (int c = 0; c < 256; ++c) {
            up[c] = low[c] = (unsigned char)c;
            unsigned char k = 0;
            if (c < 0x20 || c == 0x7F) k |= CNTRL;
            if ((c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0xFF) k |= SPACE;
            if (c == 0x20 || c == 0xFF) k |= BLANK;
            if (c >= '0' && c <= '9') k |= DIGIT | XDIGIT;
            if ((c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f')) k |= XDIGIT;
            if (c >= 'A' && c <= 'Z') {
                k |= UPPER;
                low[c] = (unsigned char)(c + 32);
            }
            if (c >= 'a' && c <= 'z') {
                k |= LOWER;
                up[c] = (unsigned char)(c - 32);
            }
            cls[c] = k;
        }
        for (const auto &p : pairs) {
            cls[p[0]] |= LOWER;
            cls[p[1]] |= UPPER;
            up[p[0]] = p[1];
            low[p[1]] = p[0];
        }
        cls[0x98] |= LOWER;
        up[0x98] = 'Y';
        up[0xD5] = 'I';
        for (unsigned char c : lower_only)
            cls[c] |= LOWER;
        // Everything visible that is no letter, digit or blank counts as
        // punctuation: signs, currency symbols and the line graphics.
        for (int c = 0x21; c < 0xFF; ++c)
            if (c != 0x7F && !(cls[c] & (UPPER | LOWER | DIGIT))) cls[c] |= PUNCT;
    }
    return t;
}

} // namespace

constinit const Tables tables = build();

} // namespace cp850
