// The label list and the change of a label by hand on a headless screen,
// driven by a key script that takes a picture of the window at every key.
// The demo's series 1001.1.1 holds labels 121 to 130 in block 12: stock
// from 122 to 127 (126 marked down, 127 on its way to branch 1).
#include "merch/etiscr.h"
#include "store/ix.h"
#include "support/headless.h"
#include "winkel.h"

namespace {

std::vector<int> g_script;
std::vector<std::string> g_window, g_status;

bool scripted(int *key) {
    std::string w;
    for (int y = 0; y < getmaxy(WINCUR()); ++y)
        w += nvtest::row_of(WINCUR(), y) + "\n";
    g_window.push_back(w);
    g_status.push_back(term_state->term_message);
    if (g_script.empty()) return false;
    *key = g_script.front();
    g_script.erase(g_script.begin());
    return true;
}
const MacroHooks k_hooks{scripted, nullptr, nullptr, nullptr, nullptr, nullptr};

class LabelList : public nvtest::Headless {
  protected:
    Winkel w;
    void SetUp() override {
        w.open();
        Headless::SetUp();
        SCRMACROHOOKS(&k_hooks);
        ser_buffer.art_nr = 1001, ser_buffer.kleur = 1, ser_buffer.volgnr = 1;
        ASSERT_EQ(IXREAD(dtser, &ser_buffer), 1);
    }
    void TearDown() override {
        SCRMACROHOOKS(nullptr);
        Headless::TearDown();
        w.close();
    }
    void script(std::vector<int> keys) {
        g_script = std::move(keys);
        g_window.clear();
        g_status.clear();
    }
    etiket_rec label(int32_t n) {
        etiket_rec r{};
        ioeti('R', &n, &r);
        return r;
    }
};

TEST_F(LabelList, ColumnsChoiceRemovalAndChange) {
    etilijst_acties all;
    all.verwijderen = all.corrigeren = all.selecteren = true;
    script({key_down, '\n', 's', 'j', '\n'});
    EXPECT_EQ(etiket_lijst(ETI_VOORRAAD, {}, all), 123);
    const std::string &first = g_window.at(0);
    EXPECT_NE(first.find("Etiketten VOORRAAD"), std::string::npos) << first;
    EXPECT_NE(first.find("  etiket i p mt fil  bf  lvnr orddat ontdat   inkpr   advpr   vrkpr an"),
              std::string::npos)
        << first;
    EXPECT_NE(first.find("     126 0    1   0         2 "), std::string::npos) << first;
    EXPECT_NE(first.find("   29,95   20,96  1 "), std::string::npos) << first; // marked down
    EXPECT_NE(first.find("     127 1    2   0   1     2 "), std::string::npos)
        << first; // to branch 1

    // Removed: gone from the file and from the series' stock.
    int32_t stock = ser_buffer.ser_voorraad;
    script({'\n', 'v', 'j', '\n', key_esc});
    EXPECT_EQ(etiket_lijst(ETI_VOORRAAD, {}, all), 0);
    EXPECT_EQ(label(122).status, ETI_VRIJ);
    ser_rec on_disk = ser_buffer;
    IXREAD(dtser, &on_disk);
    EXPECT_EQ(on_disk.ser_voorraad, stock - 1);

    // Size 4 (L) of label 123 to 1 (XS, another price group: refused), then 6.
    ASSERT_EQ(label(123).maat, 4);
    script({'\n', 'c', 'j', '\n', '1', '\n', '6', '\n', '\n', '\n', '\n', key_esc});
    etiket_lijst(ETI_VOORRAAD, {}, all);
    EXPECT_EQ(label(123).maat, 6);
    bool refused = false;
    for (const std::string &s : g_status)
        refused |= s.find("Maat valt buiten prijsgroep") != std::string::npos;
    EXPECT_TRUE(refused);

    // A filter on size: only label 124 (size 5) of the stock.
    etilijst_filter size5;
    size5.maat = 5;
    script({'\n', 's', 'j', '\n'});
    EXPECT_EQ(etiket_lijst(ETI_VOORRAAD, size5, all), 124);
}

} // namespace
