// Sellers on the demo shop's DTVKP: lookups with the names unscrambled, the
// name order on surnames, the number walk past 999, and the list, the
// field and the seller change on a headless screen, driven by a key
// script that also takes a picture of the window at every key.
#include "demoshop.h"
#include "sale/kas_vkp.h"
#include "sale/kas_vkpscr.h"
#include "support/headless.h"
#include "support/tmux.h"
#include "term/ingave.h"

#include <unistd.h>
#include <vector>

namespace {

std::vector<int> g_script;
size_t g_next;
std::vector<std::string> g_window, g_status; // at each key: the window's text, the status line

bool scripted_key(int *key) {
    std::string w;
    for (int y = 0; y < getmaxy(WINCUR()); ++y)
        w += nvtest::row_of(WINCUR(), y) + "\n";
    g_window.push_back(w);
    g_status.push_back(term_state->term_message);
    if (g_next >= g_script.size()) return false;
    *key = g_script[g_next++];
    return true;
}
const MacroHooks k_script{scripted_key, nullptr, nullptr, nullptr, nullptr, nullptr};

class Sellers : public nvtest::Headless {
  protected:
    nvt::TempDir dir;
    char cwd[4096] = {};
    void SetUp() override {
        ASSERT_EQ(demo::build(dir.path(), demo::Options{}), "");
        ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        Headless::SetUp();
        SCRMACROHOOKS(&k_script);
    }
    void TearDown() override {
        SCRMACROHOOKS(nullptr);
        vkp_close();
        Headless::TearDown();
        EXPECT_EQ(chdir(cwd), 0);
    }
    void script(std::vector<int> keys) {
        g_script = std::move(keys);
        g_next = 0;
        g_window.clear();
        g_status.clear();
    }
};

TEST_F(Sellers, LookupsAndTheTwoOrders) {
    vkp_rec r;
    ASSERT_TRUE(vkp_lees(4, &r));
    EXPECT_STREQ(r.naam, "Mohammed el Amrani");
    EXPECT_STREQ(r.naam2, "Mo");
    vkp_open();
    EXPECT_FALSE(vkp_lees(0, &r));
    EXPECT_FALSE(vkp_lees(11, &r));
    EXPECT_EQ(r.naam[0], 0);

    // On surnames; Kees, without a blank, on the whole name; 999 left out.
    vkp::NameTable t;
    ASSERT_TRUE(t.build());
    std::vector<int> order;
    for (int i = 0; i < t.size(); ++i)
        order.push_back(t.at(i).nummer);
    EXPECT_EQ(order, (std::vector<int>{3, 1, 9, 4, 2, 5, 10, 7, 8, 6}));
    EXPECT_EQ(t.place(5), 5);
    EXPECT_EQ(t.place(999), -1);

    vkp_rec reached{};
    EXPECT_TRUE(vkp::step_by_number(0, 3, &reached));
    EXPECT_EQ(reached.nummer, 3);
    EXPECT_FALSE(vkp::step_by_number(1000, -11, &reached)); // ten sellers below 999
    EXPECT_EQ(reached.nummer, 1);
    reached = {};
    EXPECT_FALSE(vkp::step_by_number(10, 1, &reached)); // only 999 behind 10
    EXPECT_EQ(reached.nummer, 0);
}

TEST_F(Sellers, ListSwitchesOrderWithTabAndFinds) {
    uint16_t nr = 1;
    script({key_down, key_tab, key_down, key_f3});
    ASSERT_TRUE(vkp_lijst(&nr));
    EXPECT_EQ(nr, 5); // Piet Jansen, TAB, one down by surname: Kees
    ASSERT_GE(g_window.size(), 4u);
    EXPECT_NE(g_window[1].find("vkp  Verkoper"), std::string::npos) << g_window[1];
    EXPECT_NE(g_window[1].find("  2  Piet Jansen                       "), std::string::npos);
    EXPECT_NE(g_window[2].find("Piet Jansen                       2"), std::string::npos)
        << g_window[2];
    EXPECT_NE(g_window[2].find("Kees                              5"), std::string::npos);
    EXPECT_EQ(g_window[2].find("Anna de Vries"), std::string::npos); // the page starts at Piet

    script({key_tab, 'v', 'i', 's', '\n', key_f3});
    ASSERT_TRUE(vkp_lijst(&nr));
    EXPECT_EQ(nr, 8); // Lotte Visser
    script({'7', '\n', key_f3});
    ASSERT_TRUE(vkp_lijst(&nr));
    EXPECT_EQ(nr, 7);
    script({'5', '0', '\n', key_f3}); // none from 50 on: the last one
    ASSERT_TRUE(vkp_lijst(&nr));
    EXPECT_EQ(nr, 10);
    script({key_cancel});
    EXPECT_FALSE(vkp_lijst(&nr));
    EXPECT_EQ(nr, 10);
}

TEST_F(Sellers, FieldInsistsOnASellerAndChangeShowsTheName) {
    uint16_t nr = 0;
    term_state->term_set->lower = 1;
    term_state->term_set->upper = 999;
    script({'7', '7', '\n', key_f5, key_f3, '\n'});
    EXPECT_EQ(vkp_veld(5, 10, "3u,", &nr, true), '\n');
    EXPECT_EQ(nr, 1); // the first seller, chosen from the list
    bool told = false;
    for (const std::string &s : g_status)
        told = told || s.find("<77> Ongeldig verkopernummer") != std::string::npos;
    EXPECT_TRUE(told);

    script({'7', '7', '\n'}); // without must_exist a number is taken as given
    EXPECT_EQ(vkp_veld(5, 10, "3u,", &nr, false), '\n');
    EXPECT_EQ(nr, 77);
    script({key_cancel});
    EXPECT_EQ(vkp_veld(5, 10, "3u,", &nr, true), key_cancel);
    EXPECT_EQ(nr, 77);

    nr = 2;
    script({'3', '\n'});
    vkp_wissel(3, 1, &nr, true);
    EXPECT_EQ(nr, 3);
    EXPECT_EQ(nvtest::row_of(WINCUR(), 2).substr(0, 40),
              "3       Sanne Bakker                    ");
}

} // namespace
