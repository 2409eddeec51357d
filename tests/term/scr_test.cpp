// The screen layer on a headless 80x25 screen: window stack, positions,
// clipping, borders, the status line, the key table and input sets.
#include "support/headless.h"

namespace {

using nvtest::Fatal;
using nvtest::row_of;
using Scr = nvtest::Headless;

TEST_F(Scr, StartsWithBaseWindowOfFixedSize) {
    ASSERT_NE(term_state, nullptr);
    EXPECT_EQ(term_state->term_lines, 25);
    EXPECT_EQ(term_state->term_cols, 80);
    EXPECT_EQ(term_state->term_wincount, 1);
    EXPECT_EQ(term_state->term_top, 0);
    EXPECT_EQ(term_state->term_decimals, 2);
    EXPECT_EQ(key_cancel, KEY_CANCEL);
    EXPECT_EQ(key_f10, KEY_F(10));
}

TEST_F(Scr, TextPositionsAndClipping) {
    EXPECT_EQ(WINTEXT(ATTR_DATA, 0, 5, "x"), 0);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 3, 0, "x"), 0);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 26, 1, "x"), 0);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 2, 3, "%s-%d", "ab", 7), 4);
    EXPECT_EQ(row_of(stdscr, 1).substr(0, 8), "  ab-7  ");
    // A text that ends exactly at the last column is not cut; one more is.
    EXPECT_EQ(WINTEXT(ATTR_DATA, 4, 76, "abcde"), 5);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 5, 77, "abcd"), 4);
    EXPECT_EQ(row_of(stdscr, 4).substr(76), "abcd");
}

TEST_F(Scr, CodePageBytesAreWrittenAsTheyAre) {
    EXPECT_EQ(WINTEXT(ATTR_DATA, 3, 1, "Caf\x82 \x89"), 6); // e-acute, e-diaeresis in 850
    chtype c = mvwinch(stdscr, 2, 3);
    EXPECT_EQ(c & A_CHARTEXT, 0x82u);
    EXPECT_EQ(mvwinch(stdscr, 2, 5) & A_CHARTEXT, 0x89u);
}

TEST_F(Scr, BorderedWindowUsesInnerCoordinates) {
    WINOPEN(5, 10, 6, 20, 1);
    WINBOX(" %s ", "Titel");
    EXPECT_EQ(term_state->term_wincount, 2);
    EXPECT_TRUE(term_state->term_win[1].bordered);
    EXPECT_EQ(WININNERROWS(), 4);
    EXPECT_EQ(WININNERCOLS(), 18);
    WINDOW *w = WINCUR();
    // Title centred in the top border: (20 - 7) / 2 + 1 = column 7 (0-based 6).
    EXPECT_EQ(row_of(w, 0).substr(6, 7), " Titel ");
    EXPECT_EQ(WINTEXT(ATTR_DATA, 1, 1, "abc"), 3);
    EXPECT_EQ(row_of(w, 1).substr(1, 3), "abc");
    EXPECT_EQ(WINTEXT(ATTR_DATA, 1, 18, "xyz"), 1);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 5, 1, "x"), 0);
    // Clearing a row keeps the right border.
    WINCLREOL(1, 1);
    chtype edge = mvwinch(w, 1, 19);
    EXPECT_EQ(edge & A_CHARTEXT, ACS_VLINE & A_CHARTEXT);
    EXPECT_EQ(row_of(w, 1).substr(1, 3), "   ");
    WINCLOSE();
    EXPECT_EQ(term_state->term_wincount, 1);
    EXPECT_EQ(term_state->term_top, 0);
}

TEST_F(Scr, WindowStackIsLastInFirstOut) {
    WINOPEN1(2, 2, 10, 40);
    WINOPEN3(4, 4, 5, 20);
    EXPECT_EQ(term_state->term_scheme, 3);
    WINDOW *second = WINCUR();
    WINTEXT(ATTR_DATA, 1, 1, "boven");
    WINCLOSE();
    EXPECT_EQ(term_state->term_scheme, 1);
    EXPECT_NE(WINCUR(), second);
    WINCLOSE();
    EXPECT_EQ(WINCUR(), stdscr);
}

TEST_F(Scr, StatusLineKeepsAndClearsItsText) {
    error("Fout %d", 12);
    EXPECT_STREQ(term_state->term_message, "Fout 12");
    EXPECT_EQ(row_of(stdscr, 24).substr(0, 8), "Fout 12 ");
    WINOPEN1(20, 1, 5, 80); // a popup over it doesn't matter to the status line
    error("%s", "");
    EXPECT_STREQ(term_state->term_message, "");
    WINCLOSE();
    EXPECT_EQ(row_of(stdscr, 24).substr(0, 8), "        ");
}

TEST_F(Scr, KeyTableAndInputSet) {
    KEYCLEARSET();
    KEYALLOW(key_cancel);
    EXPECT_TRUE(KEYISSET(KEY_CANCEL));
    EXPECT_TRUE(KEYISSET(27)); // ESC comes with CANCEL
    KEYALLOW(key_help);
    EXPECT_TRUE(KEYISSET(KEY_F(1))); // and F1 with HELP
    KEYALLOW(600);                   // codes of 512 and up can't be in a set
    EXPECT_FALSE(KEYISSET(600));
    KEYALLOW('a');
    EXPECT_TRUE(KEYISSET('a'));
    EXPECT_FALSE(KEYISEXIT('a'));
    EXPECT_TRUE(KEYISEXIT(KEY_CANCEL));
    KEYALLOW(key_up);
    EXPECT_FALSE(KEYISMASKED(KEY_UP));
    KEYMASK(KEY_UP);
    EXPECT_TRUE(KEYISMASKED(KEY_UP));

    INPUTSET *saved = INSETNEW(0);
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(saved->scratch_size, 81);
    KEYCLEARSET();
    EXPECT_FALSE(KEYISSET('a'));
    EXPECT_EQ(term_state->term_set->upper, -1.0);
    INSETUSE(saved);
    EXPECT_TRUE(KEYISSET('a'));
    EXPECT_TRUE(KEYISMASKED(KEY_UP));
    INSETFREE(saved);
    EXPECT_TRUE(KEYISSLOT(&key_f5));
    int x = 0;
    EXPECT_FALSE(KEYISSLOT(&x));
}

TEST_F(Scr, KeyNames) {
    char b[16];
    EXPECT_STREQ(KEYNAME(KEY_F(1), b), "F1 ");
    EXPECT_STREQ(KEYNAME(KEY_F(12), b), "F12");
    EXPECT_STREQ(KEYNAME(KEY_BTAB, b), "SH_TAB");
    EXPECT_STREQ(KEYNAME(KEY_RIGHT, b), "RGHT");
    EXPECT_STREQ(KEYNAME('q', b), "q");
    // F2 is the macro key and has no name: the low byte of 266 is 10.
    KEYNAME(KEY_F(2), b);
    EXPECT_EQ(b[0], 10);
}

TEST_F(Scr, KeysComeFromTheStackLastInFirstOut) {
    KEYPUSH('b');
    KEYPUSH('a');
    EXPECT_TRUE(KEYHIT());
    EXPECT_EQ(KEYREAD(WINCUR()), 'a');
    EXPECT_EQ(KEYREAD(WINCUR()), 'b');
    EXPECT_FALSE(KEYHIT());
    // A signal's key comes with the next read from the terminal, after
    // what was pushed.
    term_state->term_sigkey = KEY_DC;
    KEYPUSH('z');
    EXPECT_EQ(KEYREAD(WINCUR()), 'z');
    EXPECT_EQ(KEYREAD(WINCUR()), KEY_DC);
    EXPECT_THROW(KEYREAD(WINCUR()), Fatal);
}

TEST_F(Scr, BaseTextStaysUnderPopupsAndShellCommandsReturnTheirStatus) {
    WINOPEN1(10, 10, 5, 30);
    WINTEXT(ATTR_DATA, 1, 1, "popup");
    EXPECT_EQ(WINTEXTBASE(ATTR_DATA, 1, 1, "%s", "onder"), 5);
    EXPECT_EQ(row_of(stdscr, 0).substr(0, 5), "onder");
    EXPECT_EQ(row_of(WINCUR(), 0).substr(0, 5), "popup");
    EXPECT_EQ(SCRSYSTEM("/bin/", "true", 0), 0);
    EXPECT_NE(SCRSYSTEM("/bin/", "false", 0), 0);
    EXPECT_EQ(term_state->term_wincount, 2);
    WINCLOSE();
}

TEST(ScrReporters, TagIsCutAndUpperCased) {
    char t[32];
    nv::fatal_tag("src/sale/vrkbon.cpp", t, sizeof t);
    EXPECT_STREQ(t, "VRKBON");
    nv::fatal_tag("iofil", t, sizeof t);
    EXPECT_STREQ(t, "IOFIL");
}

} // namespace

namespace {

using ScrVariants = nvtest::Headless;

// Each window level has its own colour pairs, set from its scheme.
TEST_F(ScrVariants, ColourPairsPerWindowLevel) {
    if (!has_colors()) GTEST_SKIP() << "terminal without colours";
    WINOPEN3(5, 5, 5, 20); // level 1, scheme 3: black, yellow, red
    short fg, bg;
    pair_content(2, &fg, &bg); // n+1: second on first
    EXPECT_EQ(fg, 3);
    EXPECT_EQ(bg, 0);
    pair_content(9, &fg, &bg); // n+8: first on second
    EXPECT_EQ(fg, 0);
    EXPECT_EQ(bg, 3);
    pair_content(16, &fg, &bg); // n+15: third on first
    EXPECT_EQ(fg, 1);
    EXPECT_EQ(bg, 0);
    pair_content(1, &fg, &bg); // level 0, scheme 0: white on blue
    EXPECT_EQ(fg, 7);
    EXPECT_EQ(bg, 4);
    WINCLOSE();
}

// A variant without a terminal entry: the base terminal takes over, a full
// window opens on top of it, and the screen stays 80 columns wide.
TEST_F(ScrVariants, MissingVariantEntryFallsBackToTheBase) {
    SCRTERM("-x");
    EXPECT_EQ(term_state->term_cols, 80);
    EXPECT_EQ(term_state->term_wincount, 2);
    EXPECT_EQ(term_state->term_current, 0);
    EXPECT_EQ(WININNERCOLS(), 80);
    WINCLOSE();
    EXPECT_EQ(term_state->term_wincount, 1);
}

// The wide terminal is a terminal of its own: 132 columns while it is on top,
// and closing its window returns to the base terminal and its windows. A
// second switch to it opens a full window on its stdscr's terminal again.
TEST_F(ScrVariants, WideTerminalComesAndGoesWithItsWindow) {
    WINOPEN1(5, 5, 5, 20);
    WINTEXT(ATTR_DATA, 1, 1, "onder");
    SCRTERM("-w");
    EXPECT_EQ(term_state->term_count, 2);
    EXPECT_EQ(term_state->term_current, 1);
    EXPECT_EQ(term_state->term_cols, 132);
    EXPECT_EQ(term_state->term_base, 2);
    EXPECT_EQ(WININNERCOLS(), 132);
    EXPECT_EQ(WINTEXT(ATTR_DATA, 1, 100, "breed"), 5);
    WINOPEN1(3, 90, 4, 30); // a popup on the wide terminal
    WINCLOSE();
    WINCLOSE(); // back to the base terminal
    EXPECT_EQ(term_state->term_current, 0);
    EXPECT_EQ(term_state->term_cols, 80);
    EXPECT_EQ(term_state->term_base, 0);
    EXPECT_EQ(term_state->term_wincount, 2);
    EXPECT_EQ(nvtest::row_of(WINCUR(), 0).substr(0, 5), "onder");
    SCRTERM("-w");
    EXPECT_EQ(term_state->term_count, 2); // the record is reused
    EXPECT_EQ(term_state->term_cols, 132);
    WINCLOSE();
    EXPECT_EQ(term_state->term_cols, 80);
    WINCLOSE();
}

} // namespace
