// The field workbench under tmux: one field of each type typed as a user
// types it, with the screen read back and the variable the field wrote.
#include "base/datum.h"
#include "support/tmux.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace {

const std::string BIN = NV_BIN_DIR;

class Fieldlab : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    std::unique_ptr<nvt::Tmux> tm;

    // Starts one field; returns once it is on the screen.
    void start(const std::string &args) {
        tm = std::make_unique<nvt::Tmux>(80, 25);
        std::remove(dir.file("out").c_str());
        tm->start(BIN + "/fieldlab " + args + " --out " + dir.file("out"), dir.path());
        ASSERT_TRUE(tm->wait_for("Veld")) << tm->screen();
    }
    // Waits for the end and reads the four result lines.
    std::map<std::string, std::string> result() {
        EXPECT_TRUE(tm->wait_exit()) << tm->screen();
        std::map<std::string, std::string> r;
        std::ifstream f(dir.file("out"));
        for (std::string line; std::getline(f, line);) {
            size_t eq = line.find('=');
            if (eq != std::string::npos) r[line.substr(0, eq)] = line.substr(eq + 1);
        }
        return r;
    }
    std::string field(int width) { return tm->row(10).substr(9, width); }
};

TEST_F(Fieldlab, NumericTypes) {
    start("8B --value 1250");
    EXPECT_EQ(tm->row(10).substr(0, 17), "Veld     12.50___");
    tm->type("7,25");
    tm->keys({"Enter"});
    auto r = result();
    EXPECT_EQ(r["value"], "725");
    EXPECT_EQ(r["status"], "4");
    EXPECT_EQ(r["key"], "10");
    EXPECT_EQ(r["changed"], "1");

    start("5l");
    tm->type("12-");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "-12");

    start("3d,P --lower 10 --upper 20");
    tm->type("5");
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_for("<5> Alleen 10 t/m 20 mogelijk")) << tm->screen();
    tm->type("15");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "15");

    start("5u");
    tm->type("65535");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "65535");

    start("4n");
    tm->raw("-129"); // send-keys would take a leading '-' for an option
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_for("<-129> Alleen -128 t/m 127 mogelijk")) << tm->screen();
    tm->raw("-128");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "-128");

    start("1U,AEIP --value 3");
    EXPECT_EQ(field(1), "_");
    tm->type("7"); // leaves by itself
    EXPECT_EQ(result()["value"], "7");

    start("8.3f --value 2.5");
    tm->type("3,14159");
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_for("<3,14159> Teveel cijfers na de komma")) << tm->screen();
    tm->type("3,142"); // the field is fresh again: typing replaces the text
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "3.142000");
}

TEST_F(Fieldlab, DatesAndYesNo) {
    start("8D");
    EXPECT_EQ(field(8), "__-__-__");
    tm->type("5-3-16");
    ASSERT_TRUE(tm->wait_for("05-03-16")) << tm->screen();
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], std::to_string(datum_nr(5, 3, 2016)));

    start("8D --value " + std::to_string(datum_nr(1, 3, 2016)));
    EXPECT_EQ(field(8), "01-03-16");
    tm->type("+7");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], std::to_string(datum_nr(8, 3, 2016)));

    start("b");
    EXPECT_EQ(field(1), "N");
    tm->type("+");
    tm->keys({"Enter"});
    auto r = result();
    EXPECT_EQ(r["value"], "1");
    EXPECT_EQ(r["changed"], "1");
}

TEST_F(Fieldlab, TextTypes) {
    start("6c,J --value ab");
    EXPECT_EQ(field(6), "ab____");
    tm->keys({"End"});
    tm->type("cd");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "  abcd");

    start("10s,U");
    tm->type("abc");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "ABC");

    start("30.10S --value abcdefghijklmnop");
    EXPECT_EQ(field(10), "abcdefghij");
    tm->keys({"End"});
    tm->type("X");
    ASSERT_TRUE(tm->wait_for("jklmnopX_")) << tm->screen();
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "abcdefghijklmnopX");

    start("20.8C");
    tm->type("0123456789");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "0123456789");

    start("4x");
    tm->type("1fg");
    ASSERT_TRUE(tm->wait_for("<G> Ongeldige ingave!!")) << tm->screen();
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "1F");

    start("8.4X");
    tm->type("\\A");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "41");
}

TEST_F(Fieldlab, ExitKeysHelpAndFaults) {
    start("5l --value 7 --keys cancel,f5");
    tm->type("9");
    tm->keys({"Escape"});
    auto r = result();
    EXPECT_EQ(r["value"], "7");
    EXPECT_EQ(r["key"], "27");
    EXPECT_EQ(r["status"], "0");
    EXPECT_EQ(r["changed"], "0");

    start("5l --value 7 --keys cancel,f5");
    tm->keys({"F5"});
    EXPECT_EQ(result()["key"], "269"); // KEY_F(5)

    start("3d,P");
    tm->keys({"F1"});
    ASSERT_TRUE(tm->wait_for("Ingave HELP-informatie")) << tm->screen();
    EXPECT_NE(tm->screen().find("Bereik : 1 t/m 999"), std::string::npos) << tm->screen();
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_gone("Ingave HELP-informatie")) << tm->screen();
    tm->type("12");
    tm->keys({"Enter"});
    EXPECT_EQ(result()["value"], "12");

    start("3q");
    ASSERT_TRUE(tm->wait_for("PROGRAMMA AFGEBROKEN")) << tm->screen();
    EXPECT_NE(tm->screen().find("INGAVE(): r=10, c=10, cs=3q --> ongeldige vartype"),
              std::string::npos)
        << tm->screen();
    tm->keys({"Enter"});
    ASSERT_TRUE(tm->wait_exit());
    EXPECT_EQ(tm->exit_status(), 1);
}

} // namespace
