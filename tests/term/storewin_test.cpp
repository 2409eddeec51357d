// The store's progress display and the size tables' error box on a headless
// screen: where they stand, how the bar grows, and that nothing stays open.
#include "support/headless.h"
#include "term/storewin.h"

using nvtest::keys;
using nvtest::row_of;

namespace {

using StoreWin = nvtest::Headless;

// Cells of a row drawn in reverse.
int reverse_cells(WINDOW *w, int y) {
    int n = 0;
    for (int x = 0; x < getmaxx(w); ++x)
        n += (mvwinch(w, y, x) & A_REVERSE) != 0;
    return n;
}

TEST_F(StoreWin, ProgressWindowAndLastLineBar) {
    term_progress(0, 0, 4, "Voortgang DTKLT");
    ASSERT_EQ(term_state->term_wincount, 2);
    WINDOW *w = WINCUR();
    EXPECT_EQ(getbegy(w), 22) << "the bottom three lines";
    EXPECT_NE(row_of(w, 0).find("Voortgang DTKLT"), std::string::npos);
    term_progress(1, 1, 4, "");
    term_progress(1, 0, 4, "");
    EXPECT_EQ(reverse_cells(w, 1), 78 / 4) << "a quarter, and the bar never shrinks";
    term_progress(2, 0, 0, "");
    EXPECT_EQ(term_state->term_wincount, 1);

    WINDOW *base = WINCUR();
    term_progress(3, 0, 0, "Herstel");
    EXPECT_EQ(row_of(base, 24).find("Herstel"), 36u) << "centred";
    term_progress(4, 1, 2, "");
    EXPECT_EQ(reverse_cells(base, 24), 40);
    term_progress(5, 0, 0, "");
    EXPECT_EQ(row_of(base, 24), std::string(80, ' '));
}

TEST_F(StoreWin, SupportErrorWaitsForEnterAndCloses) {
    keys({'\n'});
    term_support_error("mtopen-fout", "Neem contact op met de Support-groep");
    EXPECT_FALSE(KEYHIT());
    EXPECT_EQ(term_state->term_wincount, 1);
}

} // namespace
