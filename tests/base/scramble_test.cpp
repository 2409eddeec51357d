#include "base/scramble.h"

#include <gtest/gtest.h>
#include <cstring>
#include <string>

namespace {

// Every key the clock can produce, with texts of odd and even lengths and
// the whole printable range: the round trip must give the text back.
TEST(Scramble, RoundTripForEveryKey) {
    const std::string texts[] = {"", "a", "JANSEN", "de Vries-van Dam", "~!\"#$%&'()*+,-./09:;<=>?@AZ[\\]^_`az{|} "};
    for (int t = 0; t < 94; ++t) {
        unsigned char key = (unsigned char)((t + 32) | 128);
        for (const auto &s : texts) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%s", s.c_str());
            nv::scramble_with_key(buf, key);
            ASSERT_EQ(std::strlen(buf), s.size() + 1);
            ASSERT_EQ((unsigned char)buf[s.size()], key);
            UNSCRAMBLE(buf);
            ASSERT_EQ(std::string(buf), s) << "key " << (int)key;
        }
    }
}

// Worked by hand: "AB" with key 0xA0 (160): step 17, offset 5.
// 'A' (i=0, sign -1): 65-32-17+5 = 21 -> 53 '5'; 'B' (i=1, +1): 66-32+34+5 = 73 -> 105 'i'.
// Reversed, then the key: "i5\xA0".
TEST(Scramble, HandWorkedBytes) {
    char buf[8] = "AB";
    nv::scramble_with_key(buf, 0xA0);
    EXPECT_EQ(std::string(buf), std::string("i5\xA0"));
}

// The older form with a 7-bit key uses modulus 94: 'A' with key 'P' (80):
// step 9, offset 5: 65-32-(1*9*-1)... encode: 33-9+5 = 29 -> '=' ; decoding
// gives 'A' back.
TEST(Scramble, SevenBitKeyUsesModulus94) {
    char buf[4] = {'=', 'P', 0, 0};
    UNSCRAMBLE(buf);
    EXPECT_EQ(std::string(buf), "A");
}

TEST(Scramble, KeyAloneGivesEmptyText) {
    char buf[4] = {(char)0xB3, 0, 0, 0};
    UNSCRAMBLE(buf);
    EXPECT_EQ(buf[0], 0);
}

TEST(Scramble, SameTextDiffersPerKey) {
    char a[16] = "PIETERS", b[16] = "PIETERS";
    nv::scramble_with_key(a, 0xA0);
    nv::scramble_with_key(b, 0xA1);
    EXPECT_NE(std::string(a), std::string(b));
}

} // namespace
