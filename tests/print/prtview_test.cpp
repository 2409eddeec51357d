// The preview under tmux, as a user pages through a print: the workbench
// prtlab prints a text file through the job with the preview first.
#include "cupsd.h"
#include "demoshop.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

namespace {

const std::string BIN = NV_BIN_DIR;

class PrtView : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    std::unique_ptr<nvt::Tmux> tm;

    void SetUp() override { ASSERT_EQ(demo::build_printers(dir.path(), "testq"), ""); }

    // Prints `text` to `code` with the preview; returns once it shows.
    void start(const std::string &text, const std::string &code) {
        std::ofstream(dir.file("in.txt"), std::ios::binary) << text;
        tm = std::make_unique<nvt::Tmux>(80, 25);
        tm->start(BIN + "/prtlab in.txt --preview --mask 2 --code " + code + " --out res",
                  dir.path());
        ASSERT_TRUE(tm->wait_for("(blad 1 van")) << tm->screen();
    }
    std::string result() {
        EXPECT_TRUE(tm->wait_exit()) << tm->screen();
        return nvtest::PrivateCups::slurp(dir.file("res"));
    }
    std::string row(int n) { return tm->row(n).substr(0, 20); }
};

// "KOP n" and then `lines` lines "blad n regel NN" with a control character.
std::string page(int n, int lines) {
    std::string p = "KOP " + std::to_string(n) + "\n";
    for (int i = 1; i <= lines; ++i) {
        char l[40];
        std::snprintf(l, sizeof l, "blad %d regel %02d\x01\n", n, i);
        p += l;
    }
    return p;
}

TEST_F(PrtView, PagingHeadLinesJumpCopiesAndPrint) {
    std::string text = page(1, 30) + "\f" + page(2, 5) + "\f" + page(3, 3);
    start(text, "3");
    EXPECT_EQ(row(1), "KOP 1");
    EXPECT_EQ(row(2), "blad 1 regel 01.");
    EXPECT_EQ(row(23), "blad 1 regel 22.");
    EXPECT_EQ(tm->row(24).substr(60), "      (blad 1 van 3)");
    tm->keys({"Enter"}); // the rest of the long page, under the same head
    ASSERT_TRUE(tm->wait_for("blad 1 regel 30")) << tm->screen();
    EXPECT_EQ(row(1), "KOP 1");
    EXPECT_EQ(row(2), "blad 1 regel 23.");
    EXPECT_EQ(row(10), "");
    tm->keys({"PageDown"});
    ASSERT_TRUE(tm->wait_for("(blad 2 van 3)"));
    EXPECT_EQ(row(1), "KOP 2");
    tm->keys({"F6"});
    ASSERT_TRUE(tm->wait_for("GA NAAR BLAD"));
    tm->type("3");
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_for("(blad 3 van 3)")) << tm->screen();
    EXPECT_EQ(tm->row(24).substr(0, 15), "Einde overzicht");
    EXPECT_EQ(row(4), "blad 3 regel 03.");
    tm->keys({"PageUp"});
    ASSERT_TRUE(tm->wait_for("(blad 2 van 3)"));
    tm->keys({"End"});
    ASSERT_TRUE(tm->wait_for("(blad 3 van 3)"));
    tm->keys({"Home"});
    ASSERT_TRUE(tm->wait_for("(blad 1 van 3)"));
    // Fifteen head lines leave eight lines for the body.
    tm->type("k");
    ASSERT_TRUE(tm->wait_for("Kopregels"));
    tm->type("15");
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_gone("Aantal:")) << tm->screen();
    ASSERT_TRUE(tm->wait_for("blad 1 regel 22")) << tm->screen();
    EXPECT_EQ(row(15), "blad 1 regel 14.");
    EXPECT_EQ(row(16), "blad 1 regel 15.");
    EXPECT_EQ(row(23), "blad 1 regel 22.");
    // N isn't a key of the table: it opens the menu.
    tm->type("n");
    ASSERT_TRUE(tm->wait_for("Niet printen"));
    tm->keys({"Escape"});
    ASSERT_TRUE(tm->wait_gone("Niet printen"));
    tm->keys({"F4"});
    ASSERT_TRUE(tm->wait_for("Aantal Afdrukken"));
    tm->type("2");
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_gone("Aantal Afdrukken"));
    tm->type("p");
    EXPECT_NE(result().find("copies=2"), std::string::npos);
    std::string printed = text + "\f";
    std::string out;
    for (int i = 0; i < 400 && out != printed + printed; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
        out = nvtest::PrivateCups::slurp(dir.file("afdruk.txt"));
    }
    EXPECT_EQ(out, printed + printed);
}

TEST_F(PrtView, NotPrintingSendsNothingAndTheScreenCannotPrint) {
    start(page(1, 3), "3");
    tm->keys({"Escape"}); // "Niet printen"
    EXPECT_NE(result().find("open=1"), std::string::npos);
    EXPECT_NE(access(dir.file("afdruk.txt").c_str(), F_OK), 0);

    // One page to the screen: no jump, no "Printen"; only ESC ends it.
    start(page(1, 3), "1");
    EXPECT_NE(tm->screen().find("(blad 1 van 1)"), std::string::npos);
    EXPECT_NE(tm->screen().find("Einde overzicht"), std::string::npos);
    tm->keys({"F6"});
    tm->type("p");
    tm->type("n");
    ASSERT_TRUE(tm->wait_for("Niet printen"));
    EXPECT_EQ(tm->screen().find("GA NAAR BLAD"), std::string::npos);
    tm->keys({"Escape"});
    ASSERT_TRUE(tm->wait_gone("Niet printen"));
    tm->keys({"Escape"});
    EXPECT_NE(result().find("device=/dev/null"), std::string::npos);
    nvt::run("ls " + dir.path() + " | grep -c '^PR' > " + dir.file("left"));
    EXPECT_EQ(nvtest::PrivateCups::slurp(dir.file("left")), "0\n");
}

} // namespace
