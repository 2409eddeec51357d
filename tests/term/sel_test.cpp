// The selection list over a small in-memory table: paging and scrolling,
// marks and their inversion, records that go away before the result call,
// hot letters, a prompt that locates a record, and the window's place.
#include "support/headless.h"
#include "term/ingave.h"
#include "term/sel.h"

#include <cstdio>
#include <cstring>

using nvtest::keys;
using nvtest::row_of;

namespace {

// The caller's side: records by index, some of which may have gone away.
std::vector<std::string> g_rows;
std::vector<bool> g_gone;
SEL *g_list;
int32_t g_cur = -1;
std::vector<std::vector<std::string>> g_shots; // window contents at each prompt

bool alive(int32_t p) {
    return p >= 0 && p < (int32_t)g_rows.size() && !g_gone[(size_t)p];
}

// Moves over the live records; stops at the end it reached when it can't go
// the full distance.
bool step(int32_t delta) {
    if (delta == 0) {
        if (!alive(g_list->sel_pos)) return false;
        g_cur = g_list->sel_pos;
        return true;
    }
    int dir = delta > 0 ? 1 : -1;
    int32_t p = g_cur, moved = 0;
    for (int32_t q = p + dir;
         moved < (delta > 0 ? delta : -delta) && q >= 0 && q < (int32_t)g_rows.size(); q += dir)
        if (alive(q)) {
            p = q;
            ++moved;
        }
    g_cur = p;
    g_list->sel_pos = p;
    return moved == (delta > 0 ? delta : -delta);
}

const char *row() {
    return g_rows[(size_t)g_cur].c_str();
}

void snapshot() {
    std::vector<std::string> s;
    for (int y = 0; y < getmaxy(WINCUR()); ++y)
        s.push_back(row_of(WINCUR(), y));
    g_shots.push_back(s);
}

// A prompt that takes a search text and locates the first record that
// starts with it.
void input() {
    snapshot();
    char text[11] = {};
    INGAVE(WININNERROWS(), 2, "10s,I", text);
    if (!text[0]) return;
    for (size_t i = 0; i < g_rows.size(); ++i)
        if (alive((int32_t)i) && g_rows[i].rfind(text, 0) == 0) {
            g_list->sel_pos = (int32_t)i;
            return;
        }
}

class Sel : public nvtest::Headless {
  protected:
    void make(int n, bool multi = false, void (*in)() = nullptr) {
        g_rows.clear();
        for (int i = 0; i < n; ++i) {
            char b[32];
            std::snprintf(b, sizeof b, "Record %02d", i);
            g_rows.push_back(b);
        }
        g_gone.assign((size_t)n, false);
        g_shots.clear();
        SELFREE(list);
        list = g_list = SELNEW(step, in, nullptr, row);
        ASSERT_NE(list, nullptr);
        list->sel_pos = 0;
        list->sel_multi = multi;
        std::strcpy(list->sel_title, "Lijst");
    }
    // Every result of one run.
    std::vector<int32_t> results(int hot = 0, int32_t start = 0) {
        std::vector<int32_t> out;
        list->sel_pos = start;
        while (SELRUN(list, hot)) {
            out.push_back(list->sel_pos);
            if (!list->sel_multi) break;
        }
        return out;
    }
    void TearDown() override {
        EXPECT_FALSE(KEYHIT()) << "keys left unread";
        SELFREE(list);
        nvtest::Headless::TearDown();
    }
    SEL *list = nullptr;
};

using V = std::vector<int32_t>;

TEST_F(Sel, EmptyListOpensNothingAndOneRecordIsPickedByF3OrEnter) {
    make(0);
    EXPECT_FALSE(SELRUN(list, 0));
    EXPECT_EQ(term_state->term_wincount, 1);
    make(1);
    keys({key_f3});
    EXPECT_EQ(results(), V{0});
    keys({'\n'});
    EXPECT_EQ(results(), V{0});
    EXPECT_EQ(list->sel_pass, 0);
    EXPECT_EQ(term_state->term_wincount, 1);
}

// The same moves over a table and over an array (cursor moves by relative
// steps there).
TEST_F(Sel, PagingAndScrolling) {
    for (bool array : {false, true}) {
        SCOPED_TRACE(array ? "array" : "table");
        make(30); // 21 rows of window: pages of 17 lines
        list->sel_array = array;
        keys({key_pgdn, key_down, key_f3});
        EXPECT_EQ(results(), V{18});
        keys({key_down, key_down, key_pgup, key_f3}); // PGUP on the first page: cursor only
        EXPECT_EQ(results(), V{0});
        keys({key_pgdn, key_up, key_f3}); // UP on the top line scrolls back one record
        EXPECT_EQ(results(), V{16});
        std::vector<int> seq(17, key_down); // DOWN on the last line scrolls on
        seq.push_back(key_f3);
        for (auto it = seq.rbegin(); it != seq.rend(); ++it)
            KEYPUSH(*it);
        EXPECT_EQ(results(), V{17});
        keys({key_pgdn, key_pgdn, key_down, key_f3}); // at the end: last line, and stays
        EXPECT_EQ(results(), V{29});
        keys({key_pgdn, key_down, key_tab, key_pgup, key_f3}); // TAB: 18 on top, PGUP: 1 page back
        EXPECT_EQ(results(), V{1});
    }
}

TEST_F(Sel, PageShowsMarksAndCurrentLine) {
    make(30, true, input);
    keys({key_pgdn, key_f7, '\n' /* marks exist: nothing */, key_esc});
    EXPECT_TRUE(results().empty());
    ASSERT_EQ(g_shots.size(), 4u);
    const auto &first = g_shots[0];
    EXPECT_NE(first[0].find(" Lijst "), std::string::npos);
    EXPECT_EQ(first[1].substr(2, 9), "Record 00");
    EXPECT_EQ(first[17].substr(2, 9), "Record 16");
    EXPECT_EQ(first[18].substr(1, 10), std::string(10, ' '));
    const auto &paged = g_shots[1];
    EXPECT_EQ(paged[1].substr(2, 9), "Record 17");
    EXPECT_EQ(paged[13].substr(2, 9), "Record 29");
    EXPECT_EQ(paged[14].substr(1, 11), std::string(11, ' ')); // the rest is cleared
    // After F7 on record 17: its line shows the mark, the cursor is one down.
    EXPECT_NE(g_shots[2][1].substr(1, 1), " ");
    EXPECT_EQ(g_shots[2][2].substr(2, 9), "Record 18");
    EXPECT_FALSE(list->sel_marks) << "CANCEL drops the marks";
    EXPECT_FALSE(list->sel_invert);
}

TEST_F(Sel, MarksAreHandedOutAndGoneRecordsSkipped) {
    make(10, true);
    keys({key_f7, key_down, key_f7, key_f7, key_up, key_up, key_f3});
    // F7 on 0 (to 1), DOWN to 2, F7 on 2 (to 3), F7 on 3 (to 4), UP UP to 2... F3 ends.
    ASSERT_TRUE(SELRUN(list, 0));
    EXPECT_EQ(list->sel_pos, 0);
    g_gone[2] = true; // deleted by another user before its turn
    ASSERT_TRUE(SELRUN(list, 0));
    EXPECT_EQ(list->sel_pos, 3);
    EXPECT_FALSE(SELRUN(list, 0));
    EXPECT_EQ(list->sel_pass, 0);
    // A mark set twice is gone; F3 with no marks takes the current record.
    keys({key_down, key_f7, key_up, key_f7, key_up, key_f3});
    EXPECT_EQ(results(), V{1});
    // F10 clears marks and inversion.
    keys({key_f7, key_f6, key_f10, key_f3});
    EXPECT_EQ(results(), V{1});
}

TEST_F(Sel, InversionHandsOutTheRecordsNotMarked) {
    make(40, true);
    keys({key_f6, key_f3});
    V all;
    for (int i = 0; i < 40; ++i)
        all.push_back(i);
    EXPECT_EQ(results(), all);
    // Starting in the middle of the file: the results still start at the top.
    keys({key_f7, key_down, key_f7, key_f6, key_f3});
    V expect;
    for (int i = 0; i < 40; ++i)
        if (i != 33 && i != 35) expect.push_back(i);
    EXPECT_EQ(results(0, 33), expect);
    EXPECT_FALSE(list->sel_marks);
    EXPECT_FALSE(list->sel_invert);
    // ENTER after F6 does nothing; ESC gives nothing at all.
    keys({key_f6, '\n', key_esc});
    EXPECT_TRUE(results().empty());
}

TEST_F(Sel, HotLetters) {
    make(0);
    g_rows = {"&Appel", "&Banaan", "&Citroen"};
    g_gone.assign(3, false);
    keys({'c'});
    EXPECT_EQ(results(1), V{2});
    // Without the hot-key argument a letter is no key of the list.
    keys({'b', key_f3});
    EXPECT_EQ(results(0), V{0});
    // Through a prompt field: the letter alone picks, the & is not shown.
    SELFREE(list);
    g_list = list = SELNEW(step, input, nullptr, row);
    list->sel_pos = 0;
    keys({'b', '\n'});
    EXPECT_EQ(results(1), V{1});
    ASSERT_FALSE(g_shots.empty());
    EXPECT_EQ(g_shots[0][2].substr(2, 6), "Banaan");
}

TEST_F(Sel, PromptLocatesARecordAndStartsAPageThere) {
    make(30, false, input);
    keys({'R', 'e', 'c', 'o', 'r', 'd', ' ', '2', '5', '\n', key_down, key_f3});
    EXPECT_EQ(results(), V{26});
    ASSERT_GE(g_shots.size(), 2u);
    EXPECT_EQ(g_shots[1][1].substr(2, 9), "Record 25");
    EXPECT_EQ(g_shots[1][5].substr(2, 9), "Record 29");
}

TEST_F(Sel, WindowPlace) {
    make(3, false, input);
    keys({key_f3});
    results();
    ASSERT_EQ(g_shots.size(), 1u);
    EXPECT_EQ(g_shots[0].size(), 21u);    // rows 3 to 23
    EXPECT_EQ(g_shots[0][0].size(), 13u); // "Record 00" plus 4, at the right edge
    // A long title widens it; a row beyond the screen is pulled in; a header
    // moves the first line down.
    std::strcpy(list->sel_title, "Een veel langere titel");
    list->sel_row0 = 40;
    list->sel_header = [] { WINTEXT(A_DIM, 1, 2, "Kop"); };
    keys({key_f3});
    results();
    ASSERT_EQ(g_shots.size(), 2u);
    EXPECT_EQ(g_shots[1][0].size(), 26u);
    EXPECT_EQ(g_shots[1].size(), 6u); // header, one line, prompt: rows 19 to 24
    EXPECT_EQ(g_shots[1][1].substr(2, 3), "Kop");
    EXPECT_EQ(g_shots[1][2].substr(2, 9), "Record 00");
}

} // namespace
