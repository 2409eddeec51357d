#include "base/txt.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Txt, IndexAndFind) {
    EXPECT_EQ(txt_index('c', "abcabc"), 2);
    EXPECT_EQ(txt_index('z', "abc"), -1);
    EXPECT_EQ(txt_index(0x82, "caf\x82"), 3); // bytes above 127 compare as bytes
    EXPECT_EQ(txt_find("bc", "abcabc"), 1);
    EXPECT_EQ(txt_find("cb", "abcabc"), -1);
    EXPECT_EQ(txt_find("", "abc"), 0);
    EXPECT_EQ(txt_find("", ""), -1);
}

TEST(Txt, DeleteClearsTheTailAndStopsAtTheEnd) {
    char buf[16];
    std::memset(buf, 'x', sizeof buf);
    std::strcpy(buf, "abcdef");
    txt_delete(buf, 1, 2);
    EXPECT_STREQ(buf, "adef");
    EXPECT_EQ(buf[4], 0);
    EXPECT_EQ(buf[5], 0);
    EXPECT_EQ(buf[6], 0);
    EXPECT_EQ(buf[7], 'x'); // nothing beyond the old text is touched

    std::strcpy(buf, "abc");
    txt_delete(buf, 1, 3); // runs one past the end: only what is there goes
    EXPECT_STREQ(buf, "a");
    std::strcpy(buf, "abc");
    txt_delete(buf, 2, 5); // too short: left alone
    EXPECT_STREQ(buf, "abc");
    txt_delete(buf, 3, 1); // at the exact end
    EXPECT_STREQ(buf, "abc");
}

TEST(Txt, Insert) {
    char buf[16] = "acd";
    txt_insert_char(buf, 'b', 1);
    EXPECT_STREQ(buf, "abcd");
    txt_insert_char(buf, 'e', 4);
    EXPECT_STREQ(buf, "abcde");
    txt_insert(buf, "XY", 0);
    EXPECT_STREQ(buf, "XYabcde");
    txt_insert(buf, "!", 99); // beyond the end: appended
    EXPECT_STREQ(buf, "XYabcde!");
}

TEST(Txt, TrimAndUpper) {
    char buf[32] = "  a b \xff ";
    txt_rtrim(buf);
    EXPECT_STREQ(buf, "  a b");
    txt_ltrim(buf);
    EXPECT_STREQ(buf, "a b");
    std::strcpy(buf, "    ");
    txt_trim(buf);
    EXPECT_STREQ(buf, "");
    std::strcpy(buf, "caf\x82 \x87\x98\xe1z");
    EXPECT_STREQ(txt_upper(buf), "CAF\x90 \x80Y\xe1Z");
}

TEST(Txt, BytesCompareIsUnsigned) {
    EXPECT_EQ(bytes_compare("abc", "abc", 3), 0);
    EXPECT_EQ(bytes_compare("abc", "abd", 3), -1);
    EXPECT_EQ(bytes_compare("\xe0", "a", 1), 0xe0 - 'a');
    EXPECT_EQ(bytes_compare("x", "y", 0), 0);
    EXPECT_EQ(bytes_compare("ab\0x", "ab\0y", 4), 'x' - 'y'); // NULs are bytes like others
}

TEST(Txt, Unescape) {
    char a[] = "\\1b&l0O\\\\end\\0d";
    txt_unescape(a);
    EXPECT_EQ(std::string(a), std::string("\x1b&l0O\\end\r"));
    char b[] = "abc\\";
    EXPECT_STREQ(txt_unescape(b), "abc");
}

TEST(Txt, AllocBetweenHalvesDownToLeast) {
    static size_t limit;
    static int calls;
    auto fake = [](size_t n) -> void * {
        ++calls;
        return n <= limit ? std::malloc(n) : nullptr;
    };
    void *p;
    limit = 300, calls = 0;
    EXPECT_EQ(nv::alloc_between_with(fake, &p, 100, 1000), 250u); // 1000, 500, 250
    EXPECT_EQ(calls, 3);
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 250; ++i)
        ASSERT_EQ(((unsigned char *)p)[i], 0);
    std::free(p);

    limit = 50, calls = 0;
    EXPECT_EQ(nv::alloc_between_with(fake, &p, 100, 1000), 0u); // 1000, 500, 250, 125, 100
    EXPECT_EQ(calls, 5);
    EXPECT_EQ(p, nullptr);

    limit = 0, calls = 0;
    EXPECT_EQ(nv::alloc_between_with(fake, &p, 64, 64), 0u);
    EXPECT_EQ(calls, 1);

    EXPECT_EQ(alloc_between(&p, 16, 4096), 4096u);
    std::free(p);
}

} // namespace
