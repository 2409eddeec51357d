// Popups and questions: the size of the FFLASH box, its J/N question, the
// J/N line, the interruption check of long jobs, the letter choice KEUZE
// with its number and its list, and the dm_hdl list.
#include "support/headless.h"
#include "term/dmhdl.h"
#include "term/popup.h"

#include <cstring>

using nvtest::keys;
using nvtest::row_of;

namespace {

class Popup : public nvtest::Headless {
  protected:
    void TearDown() override {
        EXPECT_FALSE(KEYHIT()) << "keys left unread";
        EXPECT_EQ(term_state->term_wincount, 1) << "a window was left open";
        nvtest::Headless::TearDown();
    }
};

TEST_F(Popup, FlashBoxSize) {
    nv::FlashBox b = nv::fflash_layout(0, nullptr, "Hallo");
    EXPECT_EQ(b.cols, 9);
    EXPECT_EQ(b.rows, 3);
    EXPECT_EQ(b.col, 36);
    EXPECT_EQ(b.row, 11);
    // Waiting boxes are at least 32 wide; -1 has a row for the ENTER line.
    b = nv::fflash_layout(-1, nullptr, "Hallo");
    EXPECT_EQ(b.cols, 32);
    EXPECT_EQ(b.rows, 4);
    // A title counts with its blanks, rounded up to even; a text not wider
    // than the title gives 14, and the title plus 2 is the least.
    EXPECT_EQ(nv::fflash_layout(0, "Let op", "ab").cols, 14);
    EXPECT_EQ(nv::fflash_layout(0, "Melding", "ab").title, " Melding ");
    EXPECT_EQ(nv::fflash_layout(0, std::string(40, 't').c_str(), "ab").cols, 44);
    EXPECT_EQ(nv::fflash_layout(0, std::string(66, 't').c_str(), "ab").title, "");
    // The question line counts 9 more: "? (J/N)", a blank and the answer.
    b = nv::fflash_layout(-2, nullptr, "Kort\nEen lange vraag van dertig tek");
    EXPECT_EQ(b.cols, 30 + 9 + 4);
    // An empty text has no lines, except as a question.
    EXPECT_EQ(nv::fflash_layout(0, nullptr, "").rows, 2);
    EXPECT_EQ(nv::fflash_layout(-2, nullptr, "").lines.size(), 1u);
    // At most 20 lines of at most 76 characters; tabs become blanks.
    std::string many;
    for (int i = 0; i < 21; ++i)
        many += "regel\n";
    many += "laatste";
    b = nv::fflash_layout(0, nullptr, many.c_str());
    EXPECT_EQ(b.lines.size(), 20u);
    EXPECT_EQ(b.rows, 22);
    EXPECT_EQ(b.row, 1);
    b = nv::fflash_layout(0, nullptr, (std::string("a\tb") + std::string(100, 'x')).c_str());
    EXPECT_EQ(b.lines[0].substr(0, 3), "a b");
    EXPECT_EQ(b.lines[0].size(), 76u);
    EXPECT_EQ(b.cols, 80);
}

TEST_F(Popup, FlashQuestionAndItsFieldState) {
    term_state->ing_key = 4321;
    term_state->ing_status = 77;
    keys({'x', 'j', '\n'}); // x is no answer
    EXPECT_EQ(FFLASH(-2, 2, A_BOLD, "Vraag", "Het bestand %s bestaat al\nOverschrijven", "A"), 1);
    EXPECT_EQ(term_state->ing_key, 4321);
    EXPECT_EQ(term_state->ing_status, 77);
    keys({key_cancel});
    EXPECT_EQ(FFLASH(-2, 0, A_BOLD, nullptr, "Overschrijven"), 0);
    keys({'\n'});
    EXPECT_EQ(FFLASH(-1, 1, A_BOLD, nullptr, "Klaar"), 1);
    EXPECT_EQ(FFLASH(0, 1, A_BOLD, "Even", "Bezig..."), 1);
    EXPECT_THROW(FFLASH(-3, 0, 0, nullptr, "x"), nvtest::Fatal);
    keys({'\n'});
    FOUTMELDING("Bestand niet gevonden\nNeem contact op", 0);
}

TEST_F(Popup, YesNoLine) {
    keys({key_cancel});
    EXPECT_FALSE(INGAVEJN(3, 5, "[+]Opslaan"));
    EXPECT_EQ(row_of(stdscr, 2).substr(4, 16), "Opslaan? (J/N) J");
    keys({'\n'});
    EXPECT_TRUE(INGAVEJN(3, 5, "[+],Opslaan"));
    keys({'\n'});
    EXPECT_FALSE(INGAVEJN(3, 5, "[-]Opslaan"));
    keys({'+', '\n'});
    EXPECT_TRUE(INGAVEJN(3, 5, "[-]Opslaan"));
    // Without a default an answer is required.
    keys({'\n', 'n', '\n'});
    EXPECT_FALSE(INGAVEJN(4, 1, "Regel %d wissen", 7));
    EXPECT_EQ(row_of(stdscr, 3).substr(0, 22), "Regel 7 wissen? (J/N) ");
    keys({'\n'});
    EXPECT_TRUE(INGAVEJN(5, 1, "[+]"));
    EXPECT_EQ(row_of(stdscr, 4).substr(0, 14), "Akkoord? (J/N)");
}

time_t g_now = 1000;
time_t fake_clock() {
    return g_now;
}

TEST_F(Popup, StopCheckLooksOnceASecond) {
    nv::stop_set_clock(fake_clock);
    STOPRESET();
    KEYPUSH('x');
    EXPECT_FALSE(STOPCHECK());
    EXPECT_STREQ(term_state->term_message, "Alleen <CANCEL> voor onderbreken");
    EXPECT_FALSE(KEYHIT());
    KEYPUSH(key_cancel);
    EXPECT_FALSE(STOPCHECK()); // the same second: the keyboard isn't read
    EXPECT_TRUE(KEYHIT());
    KEYREAD(nullptr);
    ++g_now;
    keys({key_cancel, 'n', '\n'});
    EXPECT_FALSE(STOPCHECK()); // asked, and answered N
    ++g_now;
    keys({key_esc, '\n'});
    EXPECT_TRUE(STOPCHECK()); // J is the default
    ++g_now;
    EXPECT_TRUE(STOPCHECK()); // kept without asking again
    STOPRESET();
    EXPECT_FALSE(STOPCHECK());
    STOPOFF();
    EXPECT_FALSE(STOPGET());
    ++g_now;
    KEYPUSH(key_cancel);
    EXPECT_FALSE(STOPCHECK());
    EXPECT_TRUE(KEYHIT());
    KEYREAD(nullptr);
    STOPON();
    nv::stop_set_clock(nullptr);
}

class Keuze : public Popup {
  protected:
    void SetUp() override {
        Popup::SetUp();
        keuze_text[0] = "&Wijzigen";
        keuze_text[1] = "&Verwijderen";
        keuze_text[2] = "&Stoppen";
        KEUZEINIT(3);
    }
};

TEST_F(Keuze, LettersDefaultAndOtherKeys) {
    keys({'v'});
    EXPECT_EQ(KEUZE(5, 1), 1);
    EXPECT_EQ(row_of(stdscr, 4).substr(0, 44), "Uw keuze (Wijzigen, Verwijderen, Stoppen) : ");
    KEUZEDEL(1);
    keys({'v', 's'}); // no longer a choice
    EXPECT_EQ(KEUZE(5, 1), 2);
    EXPECT_EQ(row_of(stdscr, 4).substr(0, 31), "Uw keuze (Wijzigen, Stoppen) : ");
    keys({'\n', 'w'}); // ENTER on an empty field asks again
    EXPECT_EQ(KEUZE(5, 1), 0);
    KEUZEDEFAULT(2);
    keys({'\n'});
    EXPECT_EQ(KEUZE(5, 1), 2);
    keys({key_esc});
    EXPECT_EQ(KEUZE(5, 1), -1);
    EXPECT_EQ(term_state->ing_key, key_esc);
}

TEST_F(Keuze, NumberBesideTheLetters) {
    int32_t nr = 0;
    KEUZENUMBER(99, &nr, 10, 50);
    keys({'2', '5'});
    EXPECT_EQ(KEUZE(5, 1), 99);
    EXPECT_EQ(nr, 25);
    keys({'7', 's'}); // 7 is below 10 and 70 is above 50
    EXPECT_EQ(KEUZE(5, 1), 2);
    KEUZENUMBER(98, &nr, 1, 12);
    keys({'6'});
    EXPECT_EQ(KEUZE(5, 1), 98);
    EXPECT_EQ(nr, 6);
}

TEST_F(Keuze, NarrowLineShowsLettersAndHelpOpensTheList) {
    keys({key_help, key_down, '\n'});
    EXPECT_EQ(KEUZE(5, 60), 1);
    EXPECT_EQ(row_of(stdscr, 4).substr(59, 19), "Uw keuze (W,V,S) : ");
    keys({key_f1, key_esc, 's'}); // ESC in the list asks again
    EXPECT_EQ(KEUZE(5, 60), 2);
    keys({key_f1, 'v'});
    EXPECT_EQ(KEUZE(5, 60), 1);
}

TEST_F(Popup, DropDownList) {
    DM_MENU *dm = DM_NEW("Kies");
    DM_ITEM(dm, "&Een", 1, 1);
    DM_SEP(dm, "");
    DM_ITEM(dm, "&Twee", 2, 0);
    DM_ITEM(dm, "&Drie", 3, 1);
    keys({key_down, '\n'}); // the disabled item is passed over
    EXPECT_EQ(DM_RUN(dm, 24, 1), 3);
    dm = DM_NEW(nullptr);
    DM_ITEM(dm, "&Een", 1, 1);
    DM_ITEM(dm, "&Twee", 2, 1);
    keys({key_down, key_f6});
    EXPECT_EQ(DM_RUN(dm, 3, 1), 1);
    dm = DM_NEW(nullptr);
    DM_ITEM(dm, "&Een", 1, 1);
    DM_ITEM(dm, "&Twee", 2, 1);
    keys({'t'});
    EXPECT_EQ(DM_RUN(dm, 3, 1), 2);
}

} // namespace
