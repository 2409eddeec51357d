#include "base/cp850.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <utility>

namespace {

// The classes of a few telling characters, and the case pairs in both
// directions.
TEST(Cp850, ClassesAndCase) {
    using namespace cp850;
    EXPECT_TRUE(is_upper(0x80) && is_upper(0xED) && is_upper('Q'));
    EXPECT_TRUE(is_lower(0x81) && is_lower(0x98) && is_lower(0xE1) && is_lower('q'));
    EXPECT_FALSE(is_alpha(0xD5));
    EXPECT_FALSE(is_alpha(0x9C)); // pound sign
    EXPECT_TRUE(is_punct(0x9C) && is_punct('!') && is_punct(0xC4));
    EXPECT_TRUE(is_space(0xFF) && is_blank(0xFF) && is_space('\t') && !is_blank('\t'));
    EXPECT_TRUE(is_cntrl(0x1B) && is_cntrl(0x7F) && !is_cntrl(' '));
    EXPECT_TRUE(is_xdigit('f') && is_xdigit('F') && !is_xdigit('g') && is_digit('7'));
    int letters = 0;
    for (int c = 0; c < 256; ++c) {
        if (is_upper(c) && lower(c) != c) {
            EXPECT_EQ(upper(lower(c)), c) << c;
        }
        if (is_lower(c) && c != 0x98 && c != 0xE1) {
            EXPECT_EQ(lower(upper(c)), c) << c;
        }
        letters += is_alpha(c);
        EXPECT_FALSE(is_upper(c) && is_lower(c)) << c;
    }
    EXPECT_EQ(letters, 52 + 30 + 32);
    EXPECT_EQ(upper(0x98), 'Y');
    EXPECT_EQ(upper(0xD5), 'I');
    EXPECT_EQ(upper(0xE1), 0xE1);
    EXPECT_EQ(upper(0x84), 0x8E);
}

// Every character of the upper half against the C library's own table of the
// code page: shown as its Unicode character and typed back as its byte. The
// box characters the screen draws with are the single lines and the block.
TEST(Cp850, UnicodeBothWays) {
    iconv_t cd = iconv_open("UTF-32LE", "CP850");
    ASSERT_NE(cd, (iconv_t)-1);
    for (int c = 0; c < 256; ++c) {
        char in = (char)c, *ip = &in;
        char32_t u = 0;
        char *op = reinterpret_cast<char *>(&u);
        size_t il = 1, ol = sizeof u;
        ASSERT_NE(iconv(cd, &ip, &il, &op, &ol), (size_t)-1) << c;
        EXPECT_EQ(cp850::to_unicode((unsigned char)c), u) << c;
        EXPECT_EQ(cp850::from_unicode(u), c) << c;
    }
    iconv_close(cd);
    const std::pair<int, char32_t> box[] = {{0xC4, U'─'}, {0xB3, U'│'}, {0xDA, U'┌'}, {0xBF, U'┐'},
                                            {0xC0, U'└'}, {0xD9, U'┘'}, {0xC5, U'┼'}, {0xDB, U'█'}};
    for (auto [c, u] : box)
        EXPECT_EQ(cp850::to_unicode((unsigned char)c), u) << c;
    for (char32_t u : {U'€', U'Œ', U'ő', U'\x80', U'\x9d'})
        EXPECT_EQ(cp850::from_unicode(u), -1) << (unsigned)u;
}

} // namespace
