// The menu engine on a headless screen: numbering by groups, hidden and
// disabled items, the remembered choice per level, and keys pushed into the
// prompt.
#include "frame/menuhdl.h"
#include "support/headless.h"
#include "term/ingave.h"

namespace {

using nvtest::Fatal;
using nvtest::keys;

std::vector<std::string> ran;
template <int N> void fn() { ran.push_back("f" + std::to_string(N)); }

class MenuEngine : public nvtest::Headless {
  protected:
    void SetUp() override {
        Headless::SetUp();
        ran.clear();
    }
    static std::string row(int r) { return nvtest::row_of(stdscr, r - 1); }
    // A menu of two groups; the first has eleven items.
    // Each test uses its own level: the engine remembers the last choice per
    // level for the whole process.
    static void build(int level, bool second_active = true) {
        menu_start(level);
        menu_groep(true, "eerste groep");
        menu_item(true, true, "een", fn<1>);
        menu_item(false, true, "verborgen", fn<99>);
        for (int i = 0; i < 9; ++i) menu_item(true, true, "meer", fn<2>);
        menu_item(true, true, "elfde", fn<3>);
        menu_groep(false, "verborgen groep");
        menu_item(false, true, "weg", fn<98>);
        menu_kolom();
        menu_groep(true, "tweede");
        menu_item(true, second_active, "uit", fn<4>);
        menu_item(true, true, "laatste", fn<5>);
    }
};

TEST_F(MenuEngine, NumbersJumpToTheNextFreeTen) {
    build(1, false);
    menu::Seen s[20];
    int n = menu::items(s, 20);
    ASSERT_EQ(n, 13);
    EXPECT_EQ(s[0].nummer, 11);
    EXPECT_STREQ(s[0].tekst, "Een");
    EXPECT_EQ(s[10].nummer, 21); // eleven items: the group runs into the next ten
    EXPECT_EQ(s[11].nummer, 31);
    EXPECT_FALSE(s[11].actief);
    EXPECT_EQ(s[12].nummer, 32);
    EXPECT_EQ(row(3).substr(1, 12), "EERSTE GROEP");
    EXPECT_EQ(row(3).substr(41, 6), "TWEEDE");
    EXPECT_EQ(row(4).substr(1, 6), "11 Een");
    menu_start(0); // frees the unused menu
}

TEST_F(MenuEngine, ChoosesByNumberAndRemembersPerLevel) {
    build(2);
    keys({'3', '2'}); // two digits: the field ends by itself
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran, std::vector<std::string>{"f5"});
    // Next run on the same level starts on the remembered item: ENTER takes it.
    build(2);
    keys({'\n'});
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran.back(), "f5");
}

TEST_F(MenuEngine, DisabledAndUnknownChoicesKeepTheMenuOpen) {
    build(5, false);
    keys({'3', '1', '9', '9', key_cancel});
    EXPECT_FALSE(menu_run());
    EXPECT_TRUE(ran.empty());
    build(5, false);
    keys({'3', '1', '9', '9', '3', '2'});
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran, std::vector<std::string>{"f5"});
}

TEST_F(MenuEngine, CursorKeysWrapAndTabGoesByGroup) {
    build(6);
    keys({key_up, '\n'}); // from the first item to the last
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran.back(), "f5");
    menu_start(4);
    menu_groep(true, "a");
    menu_item(true, true, "x", fn<6>);
    menu_groep(true, "b");
    menu_item(true, true, "y", fn<7>);
    keys({key_tab, key_tab, key_down, key_down, key_tab, '\n'});
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran.back(), "f7");
}

TEST_F(MenuEngine, RemovedLastChoiceAndPreferredItem) {
    build(3);
    keys({'2', '1'});
    EXPECT_TRUE(menu_run()); // level 3 remembers fn<3>
    menu_start(3);
    menu_groep(true, "anders");
    menu_item(true, true, "p", fn<8>);
    menu_item(true, true, "q", fn<9>);
    keys({'\n'}); // the remembered item is gone: the first item
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran.back(), "f8");
    menu_start(3);
    menu_groep(true, "anders");
    menu_item(true, true, "p", fn<8>);
    menu_item(true, true, "q", fn<9>);
    menu_voorkeur(fn<9>);
    keys({'\n'});
    EXPECT_TRUE(menu_run());
    EXPECT_EQ(ran.back(), "f9");
}

TEST_F(MenuEngine, EmptyMenuAndProgrammingFaults) {
    menu_start(2);
    menu_groep(false, "niets");
    keys({'\n'});
    EXPECT_FALSE(menu_run());
    EXPECT_NE(row(23).find("Geen menubevoegdheden"), std::string::npos);
    EXPECT_THROW(menu_start(10), Fatal);
    menu_start(0);
    EXPECT_THROW(menu_item(true, true, "x", nullptr), Fatal);
    menu_start(0);
}

} // namespace
