// Set-up of a field from its format: ranges, legal keys, loading of the
// variable, and the programming errors that stop the program.
#include "fieldtest.h"

#include <cstring>

using namespace fieldtest;

namespace {

class Format : public Screen {
  protected:
    // Set-up only, as INGAVE does it, on a variable of the caller.
    void prep(const char *fmt, void *var) {
        term_state->ing_var = var;
        INGAVEPREP(fmt);
    }
    double lo() { return term_state->term_set->lower; }
    double hi() { return term_state->term_set->upper; }
};

TEST_F(Format, NumericRangesFollowWidthAndNPZ) {
    struct Case {
        const char *fmt;
        double lo, hi;
        bool minus;
    } cases[] = {
        {"3d,P", 1, 999, false},         // P without Z: zero is out
        {"8B,IZP", 0, 999999.99, false}, // eight nines, point before the last two
        {"4l", -999, 9999, true},
        {"1U,AEIP", 1, 9, false},
        {"1l", 0, 9, false},             // one position has no room for a sign
        {"6d", -32768, 32767, true},     // the type's own range is narrower
        {"5.2f,N", -99.99, -0.01, true}, // N without Z: zero is out
        {"3n,NZ", -99, 0, true},
        {"3u", 0, 999, false},
    };
    for (const Case &c : cases) {
        KEYCLEARSET();
        double zero = 0; // zero bytes read as 0 by every numeric type
        void *var = &zero;
        prep(c.fmt, var);
        EXPECT_DOUBLE_EQ(lo(), c.lo) << c.fmt;
        EXPECT_DOUBLE_EQ(hi(), c.hi) << c.fmt;
        EXPECT_EQ(KEYISSET('-'), c.minus) << c.fmt;
    }
    // A numeric format without N, P or Z gets all three.
    KEYCLEARSET();
    int32_t v = 0;
    term_state->ing_var = &v;
    EXPECT_STREQ(INGAVEPREP("4l,E"), "ENZP");
}

TEST_F(Format, CallerBoundsCombineWithTheLimits) {
    int16_t v = 0;
    term_state->term_set->lower = 5;
    term_state->term_set->upper = -1; // upper still "no range": 5 stays
    prep("3d", &v);
    EXPECT_EQ(lo(), 5);
    EXPECT_EQ(hi(), 999);

    KEYCLEARSET();
    term_state->term_set->lower = -5000;
    term_state->term_set->upper = 50;
    prep("3d", &v);
    EXPECT_EQ(lo(), -99);
    EXPECT_EQ(hi(), 50);

    KEYCLEARSET();
    term_state->term_set->lower = 2000;
    term_state->term_set->upper = 3000;
    std::string text = open_field([&] { prep("3d", &v); });
    EXPECT_NE(text.find("ongeldig bereik"), std::string::npos) << text;
}

TEST_F(Format, DateWidthsAndLimits) {
    uint16_t d = 36526;
    prep("D,E", &d);
    EXPECT_EQ(term_state->ing_len, 6);
    EXPECT_STREQ(ing_text, "010100");
    EXPECT_TRUE(KEYISSET('+') && KEYISSET('-'));
    KEYCLEARSET();
    prep("10D,", &d);
    EXPECT_EQ(term_state->ing_len, 10);
    EXPECT_STREQ(ing_text, "01-01-2000");
    EXPECT_STREQ(term_state->ing_flags, "");
    EXPECT_EQ(lo(), 1);
    KEYCLEARSET();
    prep("7D", &d);
    EXPECT_EQ(term_state->ing_len, 6);
}

TEST_F(Format, CharacterSetsAndTypeKeys) {
    char s[20] = "";
    prep("13s[0123456789],I", s);
    EXPECT_TRUE(KEYISSET('5'));
    EXPECT_FALSE(KEYISSET('a'));
    EXPECT_EQ(ing_charset, 1);
    KEYCLEARSET();
    prep("5s[^abc]", s);
    EXPECT_FALSE(KEYISSET('b'));
    EXPECT_TRUE(KEYISSET('d'));
    EXPECT_EQ(ing_charset, 2);
    KEYCLEARSET();
    prep("c[],I", s); // nothing but editing and exit keys
    EXPECT_FALSE(KEYISSET('a'));
    EXPECT_TRUE(KEYISSET(KEY_HOME) && KEYISSET(KEY_EXIT));
    EXPECT_FALSE(KEYISSET(KEY_LEFT)); // one position: no cursor keys
    KEYCLEARSET();
    unsigned char b = 1;
    prep("b", &b);
    EXPECT_STREQ(ing_text, "J");
    EXPECT_STREQ(term_state->ing_flags, "UE");
    KEYCLEARSET();
    prep("4x", s);
    EXPECT_TRUE(KEYISSET('F') && !KEYISSET('G') && !KEYISSET('f'));
    KEYCLEARSET();
    prep("30.10S", s);
    EXPECT_TRUE(term_state->ing_scroll);
    EXPECT_EQ(term_state->ing_window, 10);
    EXPECT_EQ(term_state->ing_prec, 0);
}

TEST_F(Format, FaultsAreFatalWithTheirReason) {
    char s[8] = "abcd";
    int32_t i = 0;
    struct Case {
        const char *fmt;
        void *var;
        const char *reason;
    } cases[] = {
        {"256s", s, "Lengte > 255 tekens"}, {"3.2d", &i, "precision alleen bij f, C, S en X"},
        {"3q", &i, "ongeldige vartype"},    {"3s[ab", s, "[ zonder ]"},
        {"3s", s, "STRING fout"},
    };
    for (const Case &c : cases) {
        KEYCLEARSET();
        std::string text = open_field([&] { prep(c.fmt, c.var); });
        EXPECT_NE(text.find(std::string("cs=") + c.fmt + " --> " + c.reason), std::string::npos)
            << text;
    }
    KEYCLEARSET();
    prep("3s,I", s); // too long, but the field starts empty anyway: no fault
    EXPECT_STREQ(ing_text, "abc");
}

// The typed form checks the variable against the type letter.
TEST_F(Format, VariableMustFitTheType) {
    int32_t i = 0;
    char small[4] = "";
    EXPECT_NE(open_field([&] { INGAVE(1, 1, "3d", &i); }).find("ongeldige vartype"),
              std::string::npos);
    EXPECT_NE(open_field([&] { INGAVE(1, 1, "4s", small); }).find("STRING fout"),
              std::string::npos);
}

} // namespace
