// The main menu under tmux, on shops with different flags and rights: which
// groups and items show with which numbers, moving and choosing, help and
// information windows, and leaving to the suite's menu or the refill list.
#include "support/tmux.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

const std::string BIN = NV_BIN_DIR;

class Menu : public ::testing::Test {
  protected:
    nvt::TempDir shop;
    nvt::Tmux tm;

    void open(const std::string &mkdemo_args, const std::string &user = "BEHEER 1",
              const std::string &caller = "norpot") {
        int st;
        std::string out = nvt::run(BIN + "/mkdemo " + shop.path() + " " + mkdemo_args + " 2>&1", &st);
        ASSERT_EQ(st, 0) << out;
        tm.start(BIN + "/norvanke norvanke " + user + " " + caller, shop.path(),
                 {{"BIN", shop.path() + "/bin"}});
        ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    }
    bool shows(const std::string &text) { return tm.screen().find(text) != std::string::npos; }
    std::string prompt() { return tm.row(24); }
    std::string status() { return tm.row(25); }
    std::string last_log_line() {
        std::ifstream f(shop.file("suite.log"));
        std::string line, last;
        while (std::getline(f, line)) last = line;
        return last;
    }
};

TEST_F(Menu, SupervisorSeesEveryGroupOfAShopWithTills) {
    open("--user BEHEER:S:norvanke");
    EXPECT_TRUE(shows("VERKOOPREGISTRATIE"));
    for (const char *t : {" TRANSACTIES", "11 Verkopen/retouren", "12 Wijzigen via etiketnummer",
                          "13 Wijzigen via EAN/maatnummer", " JOURNAALS", "21 Verwerken journaals",
                          "22 Automatisch corrigeren", "23 Handmatig corrigeren", "OVERZICHTEN",
                          "31 Etiketregels (scherm)", "32 Transactieverslag", "33 Etikettransactie(s)",
                          "34 EAN-maattransactie(s)", "NULSTELLEN", "41 Transactieverslag (journaals)",
                          "OVERIGE FUNCTIES", "51 Sorteren retouretiketten", "52 Filiaal bijvullijst"})
        EXPECT_TRUE(shows(t)) << t << "\n" << tm.screen();
    EXPECT_FALSE(shows("DATACOMMUNICATIE"));
    EXPECT_NE(prompt().find("Uw keuze  11"), std::string::npos) << prompt();
}

TEST_F(Menu, NormalUserWithoutTillsOrBranches) {
    // No tills and journals (vlag1 4 off), one branch, a normal user.
    open("--vlag1 3 --branches 1 --user VERKOOP:N:norvanke", "VERKOOP 1");
    EXPECT_TRUE(shows("13 Wijzigen via EAN/maatnummer"));
    EXPECT_FALSE(shows("JOURNAALS"));
    EXPECT_FALSE(shows("NULSTELLEN"));
    EXPECT_FALSE(shows("OVERIGE FUNCTIES"));
    EXPECT_FALSE(shows("Etikettransactie(s)"));
    // The refill item stands under the group before it.
    EXPECT_TRUE(shows("23 Bijvullijst")) << tm.screen();
}

TEST_F(Menu, LookOnlyUserKeepsOnlyTheLastGroup) {
    open("--user KIJKER:I:norvanke", "KIJKER 1");
    EXPECT_FALSE(shows("TRANSACTIES"));
    EXPECT_FALSE(shows("OVERZICHTEN"));
    EXPECT_FALSE(shows("Sorteren retouretiketten"));
    EXPECT_TRUE(shows("OVERIGE FUNCTIES"));
    EXPECT_TRUE(shows("11 Filiaal bijvullijst")) << tm.screen();
}

TEST_F(Menu, DataCommunicationWithoutSalesIsNotAvailable) {
    open("--vlag2 1 --user BEHEER:S:norvanke");
    EXPECT_TRUE(shows("21 Verwerken verkopen")) << tm.screen();
    EXPECT_TRUE(shows("22 Verwijderen verkopen"));
    EXPECT_TRUE(shows("31 Verwerken journaals"));
    tm.type("21");
    ASSERT_TRUE(tm.wait_for("Keuze niet beschikbaar")) << tm.screen();
    tm.type("99");
    ASSERT_TRUE(tm.wait_for("Ongeldige keuze")) << tm.screen();
}

TEST_F(Menu, WarnsOncePerItemOfUnprocessedHandTerminalMutations) {
    int st;
    nvt::run(BIN + "/mkdemo " + shop.path() + " --vlag2 1 --user BEHEER:S:norvanke", &st);
    ASSERT_EQ(st, 0);
    std::ofstream(shop.file("DTDCVK.TXT")) << "x";
    std::ofstream(shop.file("DCINPUT.TXT")) << "x";
    tm.start(BIN + "/norvanke norvanke BEHEER 1 norpot", shop.path());
    ASSERT_TRUE(tm.wait_for("Uw keuze"));
    for (int round = 0; round < 2; ++round) {
        tm.type("21");
        ASSERT_TRUE(tm.wait_for(round == 0 ? "Tarvex" : "nog niet beschikbaar")) << tm.screen();
        if (round == 0) {
            EXPECT_TRUE(shows("Er is een nog niet verwerkt bestand met voorraadmutaties van Tarvex"));
            EXPECT_TRUE(shows("en/of handterminal(s) aangetroffen."));
            EXPECT_TRUE(shows("U kunt dit bestand onder Datacommunicatie verwerken."));
            tm.keys({"Enter"});
            ASSERT_TRUE(tm.wait_for("nog niet beschikbaar"));
        } else {
            EXPECT_FALSE(shows("Tarvex"));
        }
        tm.keys({"Enter"});
        ASSERT_TRUE(tm.wait_gone("nog niet beschikbaar"));
    }
    // The other item has its own warning.
    tm.type("22");
    ASSERT_TRUE(tm.wait_for("Tarvex")) << tm.screen();
}

TEST_F(Menu, KeysMoveWithWrapAround) {
    open("--user BEHEER:S:norvanke");
    tm.keys({"Up"}); // from the first item to the last
    ASSERT_TRUE(tm.wait_for("Uw keuze  52")) << prompt();
    tm.keys({"Down"}); // and back from the last to the first
    ASSERT_TRUE(tm.wait_for("Uw keuze  11")) << prompt();
    tm.keys({"Tab"});
    ASSERT_TRUE(tm.wait_for("Uw keuze  21")) << prompt();
    tm.keys({"Tab", "Tab", "Tab"});
    ASSERT_TRUE(tm.wait_for("Uw keuze  51")) << prompt();
    tm.keys({"Tab"}); // after the last group: the first item
    ASSERT_TRUE(tm.wait_for("Uw keuze  11")) << prompt();
}

TEST_F(Menu, HelpAndInformationWindows) {
    open("--user BEHEER:S:norvanke");
    tm.help();
    ASSERT_TRUE(tm.wait_for("keuzemogelijkheden")) << tm.screen();
    EXPECT_TRUE(shows("11-52"));
    EXPECT_TRUE(shows("Naar eerste menukeuze van volgende rubriek"));
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_gone("keuzemogelijkheden"));
    tm.keys({"F10"});
    ASSERT_TRUE(tm.wait_for("Diskfree Mb")) << tm.screen();
    EXPECT_TRUE(shows("BEHEER (S)"));
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_gone("Diskfree Mb"));
    EXPECT_TRUE(shows("11 Verkopen/retouren"));
}

TEST_F(Menu, ChoiceIsRememberedAndCancelLeavesToTheSuite) {
    open("--user BEHEER:S:norvanke");
    tm.type("32");
    ASSERT_TRUE(tm.wait_for("nog niet beschikbaar")) << tm.screen();
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Uw keuze  32")) << tm.screen();
    tm.cancel();
    ASSERT_TRUE(tm.wait_for("SUITE MENU")) << tm.screen();
    EXPECT_EQ(last_log_line(), "norpot BEHEER 1 norvanke");
}

TEST_F(Menu, RefillItemLeavesToTheRefillListAndComesBackOnIt) {
    open("--user BEHEER:S:norvanke");
    tm.type("52");
    ASSERT_TRUE(tm.wait_for("BIJVULLIJST (demo)")) << tm.screen();
    EXPECT_EQ(last_log_line(), "norbilst BEHEER 1 norvanke");
    tm.type("1\n"); // back into norvanke: the cursor stands on the refill item, once
    ASSERT_TRUE(tm.wait_for("Uw keuze  52")) << tm.screen();
    tm.type("12");
    ASSERT_TRUE(tm.wait_for("nog niet beschikbaar"));
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Uw keuze  12")) << tm.screen();
}

} // namespace
