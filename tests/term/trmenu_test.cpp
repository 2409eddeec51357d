// TR_MENU runs with pushed keys: moves, hot letters and second keys, check
// and radio items, submenus beside and below a bar, the key path of
// TR_MENU_GOTO, the time-out, and the messages of unknown ids.
#include "support/headless.h"
#include "term/trmenu.h"

using nvtest::keys;
using nvtest::row_of;

namespace {

class Menu : public nvtest::Headless {
  protected:
    void TearDown() override {
        EXPECT_FALSE(KEYHIT()) << "keys left unread";
        TR_MENU_FREE(m);
        nvtest::Headless::TearDown();
    }
    // A centred pop-up: Open, Bewaar (second key '.'), a line, Stoppen.
    void popup(int flags = 13) {
        m = TR_MENU_NEW(flags, 0, 0, 0, "Bestand");
        TR_MENU_ITEM(m, -1, "&Open", 1, 1, 0, nullptr);
        TR_MENU_ITEM(m, -1, "&Bewaar", 2, 1, '.', nullptr);
        TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr);
        TR_MENU_ITEM(m, -1, "&Stoppen", 3, 1, 0, nullptr);
    }
    TR_MENU *m = nullptr;
};

std::vector<std::string> g_shot;
int32_t g_fired = 0;
TR_MENU *g_top = nullptr;
int g_begy, g_begx;

void snapshot(TR_MENU *top, int32_t id) {
    g_fired = id;
    g_top = top;
    g_shot.clear();
    g_begy = getbegy(WINCUR());
    g_begx = getbegx(WINCUR());
    for (int y = 0; y < getmaxy(WINCUR()); ++y)
        g_shot.push_back(row_of(WINCUR(), y));
}

TEST_F(Menu, MovesHotLettersAndSecondKeys) {
    popup();
    keys({key_down, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 2);
    keys({'s'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 3);
    keys({','}); // a comma counts as the point of the second key
    EXPECT_EQ(TR_MENU_RUN(m, 0), 2);
    TR_MENU_SECONDKEY(m, 3, KEY_F(5)); // a function key as second key
    keys({key_f5});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 3);
    keys({key_up, '\n'}); // wraps round, over the separator
    EXPECT_EQ(TR_MENU_RUN(m, 0), 3);
    keys({' ', 'x', key_esc});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 0);
    EXPECT_EQ(term_state->ing_key, key_cancel);
    // A disabled item is not the start and has no hot letter.
    TR_MENU_ENABLE(m, 1, 0);
    keys({'o', '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 2);
    TR_MENU_ENABLE(m, 1, 3);
    EXPECT_EQ(TR_MENU_STATE(m, 1), 1);
    EXPECT_EQ(term_state->term_wincount, 1);
}

TEST_F(Menu, EmptyAndAllDisabledMenus) {
    m = TR_MENU_NEW(0, 5, 5, 20, nullptr);
    EXPECT_EQ(TR_MENU_RUN(m, 0), -1);
    TR_MENU_ITEM(m, -1, "&Een", 1, 0, 0, nullptr);
    TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Twee", 2, 0, 0, nullptr);
    EXPECT_EQ(TR_MENU_RUN(m, 0), 0); // closes at once: no key is read
    EXPECT_EQ(term_state->term_wincount, 1);
    // ESC doesn't close a menu with flag 16.
    TR_MENU_ENABLE(m, 2, 1);
    TR_MENU_FLAGS(m, -1, 16);
    keys({key_esc, key_cancel, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 2);
}

TEST_F(Menu, PaintingAndPlace) {
    m = TR_MENU_NEW(13, 0, 0, 0, "Opties");
    TR_MENU_ITEM(m, -1, "&Lang", 1, 1 | 8, 0, snapshot);
    TR_MENU_ITEM(m, -1, "Kort", 2, 0, 0, nullptr);
    TR_MENU_ITEM(m, -1, "Tekst", 0, 2, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Verder", 3, 1, 0, nullptr);
    TR_MENU_ITEM(m, 3, "&Nog meer", 4, 1, 0, nullptr);
    EXPECT_EQ(m->width, 9); // "Tekst" plus 4, " Verder" plus 2; " Nog meer" is in the submenu
    keys({'\n', key_esc});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 0);
    EXPECT_EQ(g_fired, 1);
    EXPECT_EQ(g_top, m);
    ASSERT_EQ(g_shot.size(), 6u); // four items in a box
    EXPECT_EQ(g_shot[0].size(), 11u);
    EXPECT_EQ(g_begx, 34); // centred: column (80 - 11) / 2 + 1
    EXPECT_EQ(g_begy, 9);  // row (25 - 6) / 2 + 1
    EXPECT_NE(g_shot[0].find(" Opties "), std::string::npos);
    EXPECT_EQ(g_shot[1].substr(2, 4), "Lang");
    EXPECT_EQ(g_shot[2].substr(1, 5), " Kort");
    EXPECT_NE(g_shot[3].find("Tekst"), std::string::npos);
    EXPECT_EQ(g_shot[4].substr(2, 6), "Verder");
    // The check mark went off after the callback; the run left no window.
    EXPECT_EQ(TR_MENU_KIND(m, 1), TRI_CHECK_OFF);
    EXPECT_EQ(term_state->term_wincount, 1);
}

TEST_F(Menu, CheckAndRadioItems) {
    m = TR_MENU_NEW(1, 4, 4, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Vet", 1, 1 | 4, 0, nullptr);
    TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Klein", 2, 1 | 32, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Groot", 3, 1 | 16, 0, nullptr);
    TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Staand", 4, 1 | 32, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Liggend", 5, 1 | 16, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Klaar", 6, 1, 0, nullptr);
    keys({'v', 'g', 'l', 'k'}); // the menu stays open until a plain item
    TR_MENU_ENABLE(m, 2, 0);    // 'k' is then the hot letter of Klaar only
    EXPECT_EQ(TR_MENU_RUN(m, 0), 6);
    EXPECT_EQ(TR_MENU_KIND(m, 1), TRI_CHECK_ON);
    EXPECT_EQ(TR_MENU_RADIO(m, -1, 2), 3);
    EXPECT_EQ(TR_MENU_KIND(m, 2), TRI_RADIO_OFF);
    EXPECT_EQ(TR_MENU_RADIO(m, -1, 4), 5); // the other group
    // A menu of radio items only closes after the choice.
    TR_MENU *r = TR_MENU_NEW(1, 4, 4, 0, nullptr);
    TR_MENU_ITEM(r, -1, "&A4", 1, 1 | 32, 0, nullptr);
    TR_MENU_ITEM(r, -1, "A&5", 2, 1 | 16, 0, nullptr);
    keys({key_down, '\n'});
    EXPECT_EQ(TR_MENU_RUN(r, 0), 0);
    EXPECT_EQ(TR_MENU_RADIO(r, -1, 1), 2);
    TR_MENU_SETKIND(r, 1, TRI_RADIO_ON);
    EXPECT_EQ(TR_MENU_KIND(r, 2), TRI_RADIO_OFF);
    TR_MENU_FREE(r);
}

TEST_F(Menu, SubmenusBesideAVerticalMenu) {
    popup();
    TR_MENU_ITEM(m, 2, "&Als tekst", 21, 1, 0, nullptr);
    TR_MENU_ITEM(m, 2, "Als &pdf", 22, 1, 0, nullptr);
    keys({'b', key_down, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 22);
    // RIGHT opens, LEFT closes the submenu, the parent goes on.
    keys({key_down, KEY_RIGHT, KEY_LEFT, key_down, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 3);
    // A run that starts on an item in a submenu opens the way to it.
    keys({'\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 22), 22);
    // TR_MENU_GOTO feeds the same path: no key of the user is needed.
    ASSERT_EQ(TR_MENU_GOTO(m, 21), 1);
    EXPECT_EQ(TR_MENU_RUN(m, 0), 21);
    // ESC in the submenu goes back one level only.
    keys({'b', key_esc, 'o'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 1);
}

TEST_F(Menu, BarWithDropDowns) {
    m = TR_MENU_NEW(2, 0, 0, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Bestand", 10, 1, 0, nullptr);
    TR_MENU_ITEM(m, -1, "", 0, 2, 0, nullptr); // skipped in a bar
    TR_MENU_ITEM(m, -1, "&Extra", 20, 1, 0, nullptr);
    TR_MENU_ITEM(m, -1, "&Hulp", 30, 1, 0, nullptr);
    TR_MENU_ITEM(m, 10, "&Nieuw", 11, 1, 0, nullptr);
    TR_MENU_ITEM(m, 10, "&Sluiten", 12, 1, 0, nullptr);
    EXPECT_EQ(m->count, 3);
    keys({KEY_RIGHT, key_down, '\n'}); // an item without submenu drops down itself
    EXPECT_EQ(TR_MENU_RUN(m, 0), 20);
    // RIGHT in a drop-down goes to the next one, LEFT to the previous one.
    keys({'\n', KEY_RIGHT, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 20);
    keys({KEY_LEFT, '\n', KEY_RIGHT, '\n'}); // wraps to Hulp, then to Bestand
    EXPECT_EQ(TR_MENU_RUN(m, 0), 11);
    keys({KEY_RIGHT, '\n', KEY_LEFT, key_down, '\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 12);
    ASSERT_EQ(TR_MENU_GOTO(m, 30), 1);
    EXPECT_EQ(TR_MENU_RUN(m, 0), 30);
    EXPECT_EQ(term_state->term_wincount, 1);
}

TEST_F(Menu, UnknownIdsLongPathsAndTimeOut) {
    popup();
    EXPECT_EQ(TR_MENU_ENABLE(m, 99, 1), 0);
    EXPECT_STREQ(term_state->term_message, "Item_ID 99 not found !");
    EXPECT_EQ(TR_MENU_ITEM(m, 98, "x", 5, 1, 0, nullptr), 0);
    EXPECT_STREQ(term_state->term_message, "menu_ID 98 not found !");
    EXPECT_EQ(TR_MENU_TITLE(m, 1, "t"), 0);
    EXPECT_STREQ(term_state->term_message, "submenu_ID 1 not found !");
    EXPECT_EQ(TR_MENU_RUN(m, 77), 0);
    // Renaming, deleting and changing the text of items.
    TR_MENU_RENAME(m, 2, 200);
    TR_MENU_DELETE(m, 1);
    TR_MENU_TEXT(m, 3, "&Einde");
    keys({'e'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 3);
    keys({'\n'});
    EXPECT_EQ(TR_MENU_RUN(m, 0), 200);
    // A path of more than 63 keys is refused.
    TR_MENU *big = TR_MENU_NEW(0, 1, 1, 20, nullptr);
    for (int i = 1; i <= 70; ++i)
        TR_MENU_ITEM(big, -1, "regel", i, 1, 0, nullptr);
    EXPECT_EQ(TR_MENU_GOTO(big, 70), 0);
    EXPECT_STREQ(term_state->term_message, "stackoverflow");
    // Long menus are cut to the screen and scroll.
    keys({key_up, '\n'});
    EXPECT_EQ(TR_MENU_RUN(big, 0), 70);
    ASSERT_EQ(TR_MENU_GOTO(big, 40), 1);
    EXPECT_EQ(TR_MENU_RUN(big, 0), 40);
    TR_MENU_FREE(big);
    // No key within the time-out closes the menu.
    TR_MENU_TIMEOUT(1);
    TR_MENU_FLAGS(m, -1, 13 | 32);
    EXPECT_EQ(TR_MENU_RUN(m, 0), -2);
    TR_MENU_TIMEOUT(0);
    EXPECT_EQ(term_state->term_wincount, 1);
}

} // namespace
