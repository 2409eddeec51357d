// The sale entry under tmux on the demo shop, as a shop assistant uses it:
// receipts of labels, articles and sizes with the screen read row by row and the
// branch's journal read afterwards, a return, a number that is unknown, a
// second user on the same branch, journals left damaged or incomplete, and
// a process killed in the middle of a receipt.
#include "demomerch.h"
#include "support/tmux.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <thread>

namespace {

const std::string BIN = NV_BIN_DIR;

class Sale : public ::testing::Test {
  protected:
    nvt::TempDir shop;
    nvt::Tmux tm;

    void SetUp() override {
        int st;
        std::string out = nvt::run(BIN + "/mkdemo " + shop.path() +
                                       " --user BEHEER:S:norvanke --user VERKOOP:N:norvanke 2>&1",
                                   &st);
        ASSERT_EQ(st, 0) << out;
    }
    // The program as user 1 or 2, at the main menu.
    void start(nvt::Tmux &t, const std::string &user = "BEHEER 1") {
        t.start(BIN + "/norvanke norvanke " + user + " norpot", shop.path(),
                {{"BIN", shop.path() + "/bin"}});
        ASSERT_TRUE(t.wait_for("Uw keuze")) << t.screen();
    }
    // From the menu to the prompt of a receipt in branch 0, seller 1.
    void to_receipt(nvt::Tmux &t) {
        t.type("11");
        ASSERT_TRUE(t.wait_for("Datum")) << t.screen();
        t.keys({"Enter"});
        ASSERT_TRUE(t.wait_for("Filiaal")) << t.screen();
        t.type("0");
        t.keys({"Enter"});
        ASSERT_TRUE(t.wait_for("Nieuw nummer of <ENTER> indien correct")) << t.screen();
        t.type("1");
        t.keys({"Enter"});
        ASSERT_TRUE(t.wait_for("Ingave")) << t.screen();
    }
    void enter_number(const std::string &n) {
        tm.type(n);
        tm.keys({"Enter"});
    }
    std::string dump(const std::string &file) {
        return nvt::run(BIN + "/jrnutil dump " + shop.file(file) + " 2>&1");
    }
    std::string label(int n) {
        return nvt::run("cd " + shop.path() + " && " + BIN + "/etiutil show " + std::to_string(n));
    }
    bool row_has(int r, const std::string &text) {
        return tm.row(r).find(text) != std::string::npos;
    }
    // Polls until row r starts with text.
    bool wait_row(int r, const std::string &text) {
        for (int i = 0; i < 100; ++i) {
            if (tm.row(r).rfind(text, 0) == 0) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    // Leaves the receipt (confirming), the seller and the branch: back at the menu.
    void leave_all() {
        tm.keys({"Escape"});
        ASSERT_TRUE(tm.wait_for("Akkoord")) << tm.screen();
        tm.type("J");
        tm.keys({"Enter"});
        ASSERT_TRUE(tm.wait_for("Nieuw nummer of <ENTER>")) << tm.screen();
        tm.keys({"Escape"});
        ASSERT_TRUE(tm.wait_for("Filiaal")) << tm.screen();
        tm.keys({"Escape"});
        ASSERT_TRUE(tm.wait_for("Datum")) << tm.screen();
        tm.keys({"Escape"});
        ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    }
};

size_t count(const std::string &s, const std::string &what) {
    size_t n = 0;
    for (size_t p = s.find(what); p != std::string::npos; p = s.find(what, p + 1))
        ++n;
    return n;
}

TEST_F(Sale, ThreeLinesThenAReturnReachTheScreenAndTheJournal) {
    std::string before = dump("VRK0000.JRN");
    start(tm);
    to_receipt(tm);
    // The head: title, branch, till, date; seller; the customer row (empty:
    // no customer step yet) moves the column header to row 6.
    EXPECT_TRUE(row_has(1, "verkopen/retouren")) << tm.row(1);
    EXPECT_TRUE(row_has(1, "FIL: 00 KAS: 00 DATUM:")) << tm.row(1);
    EXPECT_TRUE(row_has(3, "VERK  1")) << tm.row(3);
    EXPECT_EQ(tm.row(6),
              "Artikel  Serie/omschr.  Maat  Opmerking       | Stk    Prijs  Korting   Bedrag A");

    enter_number("122"); // a label in stock in branch 0: series 1001.1.1
    ASSERT_TRUE(wait_row(7, "122      1001.1.1")) << tm.screen();
    EXPECT_TRUE(row_has(23, "Mrk BRD")) << tm.row(23);
    enter_number("A1"); // a small article by its number; closes the label line
    ASSERT_TRUE(wait_row(8, "A 1")) << tm.screen();
    enter_number(demo::supplier_ean_of(3, 3)); // a size of a series kept by size, by its EAN
    ASSERT_TRUE(wait_row(9, "EAN      1004.1.1       M")) << tm.screen();
    tm.type("V"); // closes the last line
    ASSERT_TRUE(tm.wait_for("Stuks  3")) << tm.screen();
    EXPECT_TRUE(row_has(3, "Subtotaal     93.85")) << tm.row(3);

    std::string r7 = tm.row(7), r8 = tm.row(8), r9 = tm.row(9);
    EXPECT_EQ(r7.substr(24, 1), "M") << r7; // the size
    EXPECT_EQ(r7.substr(30, 6), "Jassen") << r7;
    EXPECT_EQ(r7.substr(46, 5), "|   1") << r7;
    EXPECT_EQ(r7.substr(70, 8), "   29.95") << r7;
    EXPECT_EQ(r8.substr(0, 29), "A 1        20 Kleinigheden   ") << r8;
    EXPECT_EQ(r8.substr(70, 8), "    3.95") << r8;
    EXPECT_EQ(r9.substr(30, 6), "Truien") << r9;
    EXPECT_EQ(r9.substr(70, 8), "   59.95") << r9;
    EXPECT_EQ(tm.row(10).substr(46, 1), "|") << "the next line is prepared";

    // Leaving the receipt: T and X, the BON file posted into the journal.
    tm.keys({"Escape"});
    ASSERT_TRUE(tm.wait_for("Akkoord")) << tm.screen();
    tm.type("J");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Nieuw nummer of <ENTER>")) << tm.screen();
    std::string after = dump("VRK0000.JRN");
    ASSERT_EQ(after.substr(0, before.size() - 4), before.substr(0, before.size() - 4));
    std::string added = after.substr(before.size() - 4);
    EXPECT_EQ(count(added, " H "), 1u) << added;
    EXPECT_EQ(count(added, " V "), 3u) << added;
    EXPECT_EQ(count(added, " T "), 1u) << added;
    EXPECT_EQ(count(added, " X"), 1u) << added;
    EXPECT_TRUE(added.find("nummer=122 prijs=2995 bedrag=2995") != std::string::npos) << added;
    EXPECT_EQ(count(added, "soort=A"), 1u) << added;
    EXPECT_TRUE(added.find("invoer=\"" + demo::supplier_ean_of(3, 3) + "\"") != std::string::npos)
        << added;
    EXPECT_TRUE(added.find("totaal=9385 contant=9385") != std::string::npos) << added;
    EXPECT_FALSE(std::ifstream(shop.file("VRK0000.BON")).good());
    EXPECT_TRUE(label(122).find("status: 3") != std::string::npos) << label(122);

    // A return of the label on the next receipt gives it back to stock.
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Ingave")) << tm.screen();
    tm.type("R");
    ASSERT_TRUE(tm.wait_for("retour")) << tm.screen();
    enter_number("122");
    ASSERT_TRUE(wait_row(7, "122")) << tm.screen();
    EXPECT_EQ(tm.row(7).substr(46, 1), "R") << tm.row(7);
    leave_all();
    EXPECT_TRUE(label(122).find("status: 2") != std::string::npos) << label(122);
    std::string last = dump("VRK0000.JRN").substr(after.size() - 4);
    EXPECT_EQ(count(last, " R "), 1u) << last;
    EXPECT_TRUE(last.find("totaal=-") != std::string::npos) << last;
}

TEST_F(Sale, UnknownNumberAndASecondUserOnTheSameBranch) {
    start(tm);
    to_receipt(tm);
    enter_number("99999");
    ASSERT_TRUE(tm.wait_for("<99999> Onbekend etiketnummer")) << tm.screen();
    EXPECT_EQ(tm.row(7).substr(46, 1), "|") << "no line was opened";

    // Seventeen lines on sixteen rows: the receipt jumps by half a page.
    for (int a = 1; a <= 17; ++a)
        enter_number("A" + std::to_string(a));
    tm.type("V");
    ASSERT_TRUE(tm.wait_for("Stuks  17")) << tm.screen();
    EXPECT_TRUE(wait_row(7, "A 9 ")) << tm.screen();
    EXPECT_TRUE(wait_row(15, "A 17")) << tm.screen();
    EXPECT_EQ(tm.row(16).substr(46, 1), "|") << tm.screen();
    EXPECT_EQ(tm.row(17), "") << tm.screen();

    nvt::Tmux other;
    start(other, "VERKOOP 2");
    other.type("11");
    ASSERT_TRUE(other.wait_for("Datum")) << other.screen();
    other.keys({"Enter"});
    ASSERT_TRUE(other.wait_for("Filiaal"));
    other.type("0");
    other.keys({"Enter"});
    ASSERT_TRUE(other.wait_for("Journaal reeds in gebruik voor filiaal 0")) << other.screen();
    // Another branch is free.
    other.type("1");
    other.keys({"Enter"});
    ASSERT_TRUE(other.wait_for("Nieuw nummer of <ENTER>")) << other.screen();
    EXPECT_TRUE(other.row(1).find("FIL: 01") != std::string::npos) << other.row(1);
}

TEST_F(Sale, DamagedAndIncompleteJournals) {
    // A journal that ends inside a record is damaged: it is set aside.
    std::string jrn = shop.file("VRK0000.JRN");
    { std::ofstream(jrn, std::ios::app) << "H12"; }
    std::string damaged = nvt::run("wc -c < " + jrn);
    start(tm);
    tm.type("11");
    ASSERT_TRUE(tm.wait_for("Datum"));
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Filiaal"));
    tm.type("0");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Het journaal (VRK0000.JRN) is beschadigd.")) << tm.screen();
    EXPECT_TRUE(tm.screen().find("Programma verlaten") != std::string::npos);
    tm.type("1");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Nieuw nummer of <ENTER>")) << tm.screen();
    EXPECT_EQ(nvt::run("wc -c < " + jrn), "0\n");
    EXPECT_EQ(nvt::run("wc -c < " + shop.file("VRK0000.BAD")), damaged);
    tm.keys({"Escape"});
    ASSERT_TRUE(tm.wait_for("Filiaal"));

    // A whole H behind the last X: a receipt whose posting was cut off.
    { std::ofstream(shop.file("VRK0100.JRN"), std::ios::app) << 'H' << std::string(20, '\0'); }
    tm.type("1");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("De verkoopfunctie is niet correct afgesloten.")) << tm.screen();
    EXPECT_TRUE(tm.screen().find("Neem contact op met de systeembeheerder.") != std::string::npos);
    tm.type("N");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
}

TEST_F(Sale, AKilledReceiptIsMovedAsideByTheNextOne) {
    start(tm);
    to_receipt(tm);
    enter_number("123");
    ASSERT_TRUE(tm.wait_for("1001.1.1")) << tm.screen();
    tm.type("V");
    ASSERT_TRUE(tm.wait_for("Stuks  1")) << tm.screen();
    // The pane's shell runs the program as its child.
    std::string sh = nvt::run("tmux -S " + tm.socket() + " display -p '#{pane_pid}'");
    std::string pid = nvt::run("pgrep -P " + sh);
    ASSERT_FALSE(pid.empty());
    nvt::run("kill -9 " + pid);
    ASSERT_TRUE(tm.wait_exit());
    std::string bon = dump("VRK0000.BON");
    EXPECT_EQ(count(bon, " H "), 1u) << bon;
    EXPECT_EQ(count(bon, " V "), 1u) << bon;
    EXPECT_TRUE(label(123).find("status: 3") != std::string::npos) << label(123);

    nvt::Tmux again;
    start(again);
    to_receipt(again);
    EXPECT_FALSE(std::ifstream(shop.file("VRK0000.BON")).good() &&
                 nvt::run("wc -c < " + shop.file("VRK0000.BON")) != "0\n");
    EXPECT_EQ(dump("VRK0000.OLD"), bon);
}

} // namespace
