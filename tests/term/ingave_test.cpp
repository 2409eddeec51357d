// The field engine driven by keys on a headless screen: what the user types,
// what the variable gets, what the screen and the status line show.
#include "fieldtest.h"

#include "base/datum.h"

#include <cstring>

using namespace fieldtest;

namespace {

class Field : public Screen {};

TEST_F(Field, FirstKeyReplacesCursorMoveOverwrites) {
    int32_t v = 123;
    type("7", ENTER);
    EXPECT_TRUE(INGAVE(10, 10, "5l", &v));
    EXPECT_EQ(v, 7);
    EXPECT_EQ(at(10, 10, 5), "7    ");

    v = 123;
    type(KEY_RIGHT, "7", ENTER);
    INGAVE(10, 10, "5l", &v);
    EXPECT_EQ(v, 173);

    v = 123;
    type(KEY_RIGHT, KEY_IC, "9", ENTER); // insert mode
    INGAVE(10, 10, "5l", &v);
    EXPECT_EQ(v, 1923);

    char s[5] = "abcd";
    type(KEY_RIGHT, KEY_IC, "X", ENTER); // insert into a full field cuts the end
    INGAVE(10, 10, "4s", s);
    EXPECT_STREQ(s, "aXbc");
}

TEST_F(Field, HomeTwiceUndoesAndBackspaceAtStartClears) {
    int32_t v = 55;
    type("99", KEY_HOME, KEY_HOME, ENTER);
    EXPECT_FALSE(INGAVE(10, 10, "5l", &v));
    EXPECT_EQ(v, 55);

    char s[11] = "abc";
    type(KEY_BACKSPACE, ENTER);
    EXPECT_TRUE(INGAVE(10, 10, "10s", s));
    EXPECT_STREQ(s, "");
    EXPECT_TRUE(status() & ING_EMPTY);

    std::strcpy(s, "abc");
    type(KEY_END, KEY_BACKSPACE, KEY_LEFT, KEY_DC, ENTER);
    INGAVE(10, 10, "10s", s);
    EXPECT_STREQ(s, "a");
}

TEST_F(Field, AmountsAndNumbers) {
    int32_t b = 0;
    type("12,5", ENTER);
    INGAVE(10, 10, "8B", &b);
    EXPECT_EQ(b, 1250);
    EXPECT_EQ(at(10, 10, 8), "12.50   ");

    // 0.29 * 100 is 28.999...: the write-back rounds, half away from zero.
    type("0,29", ENTER);
    INGAVE(10, 10, "8B", &b);
    EXPECT_EQ(b, 29);
    type("0,29-", ENTER);
    INGAVE(10, 10, "8B", &b);
    EXPECT_EQ(b, -29);

    int32_t l = 0;
    type("12-", ENTER); // a trailing minus is a minus
    INGAVE(10, 10, "5l", &l);
    EXPECT_EQ(l, -12);

    int32_t e = 0;
    type(ENTER);
    INGAVE(10, 10, "5l", &e);
    EXPECT_EQ(e, 0);
    EXPECT_TRUE(status() & ING_EMPTY);

    // Within a thousandth of the old value is no change.
    double f = 1.0004;
    type("1", ENTER);
    EXPECT_FALSE(INGAVE(10, 10, "6.2f", &f));
    EXPECT_DOUBLE_EQ(f, 1.0);
}

// With KPOS the system has no decimals: amounts are whole and unscaled.
TEST_F(Field, AmountsWithoutDecimalsUnderKpos) {
    SCREND();
    setenv("KPOS", "1", 1);
    SCRHEADLESS(25, 80);
    SCRINIT();
    unsetenv("KPOS");
    nv::set_fatal_handler(thrower);
    int32_t b = 1250;
    type(KEY_END, "5", ENTER);
    INGAVE(10, 10, "8B", &b);
    EXPECT_EQ(b, 12505);
    EXPECT_EQ(at(10, 10, 8), "12505   ");
}

TEST_F(Field, ZeroShowsEmptyUnlessRequiredAndAllowed) {
    int32_t v = 0;
    type("", ESC);
    INGAVE(10, 10, "5l", &key_cancel, &v);
    int32_t w = 0;
    EXPECT_EQ(at(10, 10, 5), "     ");
    open_field([&] { INGAVE(10, 10, "5l,ZE", &w); });
    EXPECT_EQ(at(10, 10, 5), "0____");
}

TEST_F(Field, LimitsAndTheirMessages) {
    int16_t d = 0;
    open_field([&] {
        type("0", ENTER);
        INGAVE(10, 10, "3d,P", &d);
    });
    EXPECT_EQ(status_line(), "<0> Moet ongelijk zijn aan 0");
    KEYCLEARSET();

    open_field([&] {
        type("-");
        INGAVE(10, 10, "3d,P", &d);
    });
    EXPECT_EQ(status_line(), "<-> Ongeldige ingave!!  (HELP voor toelichting)");
    KEYCLEARSET();

    term_state->term_set->lower = 10;
    term_state->term_set->upper = 20;
    open_field([&] {
        type("5", ENTER);
        INGAVE(10, 10, "3d", &d);
    });
    EXPECT_EQ(status_line(), "<5> Alleen 10 t/m 20 mogelijk");
    KEYCLEARSET();

    double f = 0;
    open_field([&] {
        type("1,25", ENTER);
        INGAVE(10, 10, "5.1f", &f);
    });
    EXPECT_EQ(status_line(), "<1,25> Teveel cijfers na de komma");
    KEYCLEARSET();

    // After an error the field is fresh again: the next key replaces the text.
    type("0", ENTER, "7", ENTER);
    INGAVE(10, 10, "3d,P", &d);
    EXPECT_EQ(d, 7);

    int32_t l = 0;
    open_field([&] {
        type("123");
        INGAVE(10, 10, "2l", &l);
    });
    EXPECT_EQ(status_line(), "Tik <ENTER> toets");
    KEYCLEARSET();
    open_field([&] {
        type(KEY_F(5));
        INGAVE(10, 10, "2l", &l);
    });
    EXPECT_EQ(status_line(), "Ongeldige toets");
}

TEST_F(Field, AutoEnterAndRequiredDigit) {
    unsigned char u = 0;
    type("0", "5"); // 0 is refused, and the field must not loop on it
    INGAVE(10, 10, "1U,AEIP", &u);
    EXPECT_EQ(u, 5);

    int32_t l = 0;
    type("42");
    INGAVE(10, 10, "2l,A", &l);
    EXPECT_EQ(l, 42);
}

TEST_F(Field, Dates) {
    uint16_t d = 0;
    type("5-3-16", ENTER);
    INGAVE(10, 10, "8D", &d);
    EXPECT_EQ(d, datum_nr(5, 3, 2016));
    EXPECT_EQ(at(10, 10, 8), "05-03-16");

    d = datum_nr(1, 3, 2016);
    type("+7", ENTER);
    INGAVE(10, 10, "8D", &d);
    EXPECT_EQ(d, datum_nr(8, 3, 2016));

    d = 0;
    open_field([&] {
        type("310216", ENTER);
        INGAVE(10, 10, "8D", &d);
    });
    EXPECT_EQ(status_line(), "<31-02-16> Datum voldoet niet aan DD-MM-JJ");
    KEYCLEARSET();

    open_field([&] {
        type("010179", ENTER);
        INGAVE(10, 10, "D", &d);
    });
    EXPECT_EQ(status_line(), "<010179> Alleen datum tussen 01-01-1980 en 31-12-2050");
    KEYCLEARSET();

    open_field([&] {
        type(ENTER);
        INGAVE(10, 10, "D,E", &d);
    });
    EXPECT_EQ(status_line(), "<> Ingave verplicht");
    KEYCLEARSET();

    type("01012030", ENTER);
    INGAVE(10, 10, "10D,", &d);
    EXPECT_EQ(d, datum_nr(1, 1, 2030));
}

// Deleting in a date keeps day, month and year in their columns.
TEST_F(Field, DateDeletionKeepsColumns) {
    uint16_t d = datum_nr(5, 3, 2016);
    type(KEY_END, KEY_BACKSPACE, KEY_BACKSPACE, KEY_BACKSPACE, "417", ENTER);
    INGAVE(10, 10, "8D", &d);
    EXPECT_EQ(d, datum_nr(5, 4, 2017));

    // Backspace on the units of the month: the tens take the 3, a blank
    // comes behind it, and leaving makes 03 of it again.
    d = datum_nr(5, 3, 2016);
    type(KEY_RIGHT, KEY_RIGHT, KEY_RIGHT, KEY_BACKSPACE, ENTER);
    EXPECT_FALSE(INGAVE(10, 10, "8D", &d));
    EXPECT_EQ(d, datum_nr(5, 3, 2016));

    open_field([&] {
        type(KEY_RIGHT, KEY_RIGHT, KEY_DC, ENTER);
        INGAVE(10, 10, "8D", &d);
    });
    EXPECT_EQ(status_line(), "<05-3_-16> Datum voldoet niet aan DD-MM-JJ");
}

TEST_F(Field, YesNoHexAndJustify) {
    unsigned char b = 0;
    type("+", ENTER);
    INGAVE(10, 10, "b", &b);
    EXPECT_EQ(b, 1);
    type("-", ENTER);
    INGAVE(10, 10, "b", &b);
    EXPECT_EQ(b, 0);
    type("j", ENTER); // upper case by force
    INGAVE(10, 10, "b", &b);
    EXPECT_EQ(b, 1);

    char x[4] = {};
    type("\\A", ENTER); // backslash and a character: its two hex digits
    INGAVE(10, 10, "4x", x);
    EXPECT_EQ(std::string(x, 4), std::string("41\0\0", 4));

    char s[6] = "";
    type("ab", ENTER);
    INGAVE(10, 10, "5s,J", s);
    EXPECT_STREQ(s, "   ab");
    type(ENTER);
    INGAVE(10, 10, "5s,J", s);
    EXPECT_STREQ(s, "   ab"); // unchanged, ENTER on the old text
    type(KEY_BACKSPACE, ENTER);
    INGAVE(10, 10, "5s,J", s);
    EXPECT_STREQ(s, ""); // an empty text is not padded
}

TEST_F(Field, ExitKeys) {
    char s[6] = "abc";
    type("x", ESC); // ESC leaves anywhere when CANCEL is an exit key
    EXPECT_FALSE(INGAVE(10, 10, "5s", &key_cancel, s));
    EXPECT_STREQ(s, "abc");
    EXPECT_EQ(key(), 27);
    EXPECT_EQ(status(), 0);

    type(KEY_F(5)); // at position 0: at once
    INGAVE(10, 10, "5s", &key_f5, s);
    EXPECT_EQ(key(), KEY_F(5));

    type("xy", KEY_F(5)); // further on: validated like ENTER
    EXPECT_TRUE(INGAVE(10, 10, "5s", &key_f5, s));
    EXPECT_STREQ(s, "xy");
    EXPECT_EQ(key(), KEY_F(5));

    int16_t d = 0;
    open_field([&] {
        type("0", KEY_F(5));
        INGAVE(10, 10, "3d,P", &key_f5, &d);
    });
    EXPECT_EQ(status_line(), "<0> Moet ongelijk zijn aan 0");
    KEYCLEARSET();

    // UP under E goes through validation even at position 0.
    char e[6] = "";
    open_field([&] {
        type(KEY_UP);
        INGAVE(10, 10, "5s,E", &key_up, e);
    });
    EXPECT_EQ(status_line(), "<> Ingave verplicht");
    KEYCLEARSET();

    std::string text = open_field([&] {
        type(KEY_EXIT);
        INGAVE(10, 10, "5s", s);
    });
    EXPECT_EQ(text, "EXIT-toets gebruikt");
}

// Exit keys and the range are for one field only.
TEST_F(Field, InputSetIsResetAfterTheField) {
    int32_t v = 0;
    term_state->term_set->lower = 1;
    term_state->term_set->upper = 2;
    type(KEY_F(5));
    INGAVE(10, 10, "5l", &key_f5, &v);
    EXPECT_FALSE(KEYISSET(KEY_F(5)));
    EXPECT_EQ(term_state->term_set->lower, 0);
    EXPECT_EQ(term_state->term_set->upper, -1);
    EXPECT_EQ(term_state->term_set->mask, 0u);
}

TEST_F(Field, ScrollingField) {
    char s[21] = "";
    open_field([&] {
        type("abcdefghijkl");
        INGAVE(10, 10, "20.10S", s);
    });
    // Ten positions shown; a third of the window scrolled at each edge.
    EXPECT_EQ(at(10, 10, 10), "defghijkl_");
    EXPECT_EQ(mvwinch(WINCUR(), 9, 8) & A_CHARTEXT, ACS_LARROW & A_CHARTEXT);
    KEYCLEARSET();

    open_field([&] {
        type("abcdefghijklmnopqrst");
        INGAVE(10, 10, "20.10S", s);
    });
    // At the end of the field the window shows its last part.
    EXPECT_EQ(at(10, 10, 10), "lmnopqrst ");
    KEYCLEARSET();

    std::strcpy(s, "abcdefghijklmno");
    open_field([&] {
        type(KEY_END, KEY_HOME);
        INGAVE(10, 10, "20.10S", s);
    });
    EXPECT_EQ(at(10, 10, 10), "abcdefghij");
    EXPECT_EQ(mvwinch(WINCUR(), 9, 19) & A_CHARTEXT, ACS_RARROW & A_CHARTEXT);
    EXPECT_EQ(at(10, 9, 1), " ");
}

TEST_F(Field, HiddenFieldShowsNothing) {
    char s[9] = "";
    type("geheim", ENTER);
    INGAVE(10, 10, "8s,S", s);
    EXPECT_STREQ(s, "geheim");
    EXPECT_EQ(at(10, 10, 8), "        ");
}

TEST_F(Field, ComposeWindow) {
    char s[6] = "";
    type(KEY_F(11), "e'", ENTER, KEY_F(11), "0065" /* full: ends by itself */, KEY_F(11), "1/2",
         ENTER, ENTER);
    INGAVE(10, 10, "5s", s);
    EXPECT_STREQ(s, "\x82"
                    "A\xab");

    open_field([&] {
        type(KEY_F(11), "zz", ENTER);
        INGAVE(10, 10, "5s", s);
    });
    EXPECT_EQ(status_line(), "Ongeldige toets");
}

TEST_F(Field, HelpScreen) {
    int16_t d = 0;
    open_field([&] {
        type(KEY_F(1));
        INGAVE(10, 10, "3d,P", &key_cancel, &key_f5, &d);
    });
    // The help window is still open on top; it is bordered, so its inner
    // row r is window line r.
    auto inner = [](int r, int n) {
        char buf[80] = "";
        mvwinnstr(WINCUR(), r, 2, buf, n);
        return std::string(buf);
    };
    EXPECT_EQ(inner(2, 38), "Er wordt ingave van een getal verwacht");
    EXPECT_EQ(inner(3, 25), "U mag 3 posities vullen  ");
    EXPECT_EQ(inner(5, 23), "Alle cijfers toegestaan");
    EXPECT_EQ(inner(8, 6), "CANCEL");
    EXPECT_EQ(inner(9, 6), "F5,   ");
    EXPECT_EQ(inner(10, 18), "Bereik : 1 t/m 999");
    WINCLOSE();
    KEYCLEARSET();

    // ENTER closes it and the field goes on.
    type(KEY_F(1), "x", ENTER, "4", ENTER);
    INGAVE(10, 10, "3d,P", &d);
    EXPECT_EQ(d, 4);
}

TEST_F(Field, WaitForOneKey) {
    type("x", "q", "y");
    EXPECT_EQ(INGAVEKEY("yz"), 'y');
    EXPECT_EQ(status(), 0);
    type("a", KEY_F(5));
    EXPECT_EQ(INGAVEKEY(&key_f5, ""), KEY_F(5));
    EXPECT_EQ(status(), ING_EMPTY);
    EXPECT_FALSE(KEYISSET(KEY_F(5)));
    type(" ", ENTER);
    EXPECT_EQ(INGAVEENTER(20, 1), '\n');
    EXPECT_EQ(at(20, 1, 20), "<ENTER> voor vervolg");
}

} // namespace
