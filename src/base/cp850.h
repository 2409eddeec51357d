// Character classes and case tables of IBM code page 850, the character set
// of the shop terminals and of every text in the files. The C library's
// <cctype> knows nothing of the accented letters, so the system classifies
// and converts through these tables instead.
//
// Beside them the Unicode character of every byte, for terminals that speak
// UTF-8: the files stay code page 850 and only the edge of the screen
// converts. Bytes below 128 are ASCII; 0xB0 to 0xDF hold the box and block
// characters of the code page between the letters.
#pragma once

namespace cp850 {

enum : unsigned char {
    UPPER = 0x01,
    LOWER = 0x02,
    DIGIT = 0x04,
    SPACE = 0x08, // 0x09..0x0D, 0x20, 0xFF
    PUNCT = 0x10,
    CNTRL = 0x20,
    BLANK = 0x40, // 0x20 and 0xFF
    XDIGIT = 0x80,
};

struct Tables {
    unsigned char cls[256];
    unsigned char up[256];  // letter to its capital, others to themselves
    unsigned char low[256]; // letter to its small form
};
extern const Tables tables; // constant-initialised: usable at any time

inline bool is(int c, unsigned char cls) {
    return (tables.cls[(unsigned char)c] & cls) != 0;
}
inline bool is_upper(int c) {
    return is(c, UPPER);
}
inline bool is_lower(int c) {
    return is(c, LOWER);
}
inline bool is_alpha(int c) {
    return is(c, UPPER | LOWER);
}
inline bool is_digit(int c) {
    return is(c, DIGIT);
}
inline bool is_alnum(int c) {
    return is(c, UPPER | LOWER | DIGIT);
}
inline bool is_space(int c) {
    return is(c, SPACE);
}
inline bool is_punct(int c) {
    return is(c, PUNCT);
}
inline bool is_cntrl(int c) {
    return is(c, CNTRL);
}
inline bool is_blank(int c) {
    return is(c, BLANK);
}
inline bool is_xdigit(int c) {
    return is(c, XDIGIT);
}
inline int upper(int c) {
    return tables.up[(unsigned char)c];
}
inline int lower(int c) {
    return tables.low[(unsigned char)c];
}

// The Unicode character of a byte (the byte itself below 128).
char32_t to_unicode(unsigned char c);
// The byte of a Unicode character, or -1 when the code page has none.
int from_unicode(char32_t u);

} // namespace cp850
