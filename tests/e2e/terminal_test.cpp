// The edge of the screen under tmux: code page 850 shown on a UTF-8 and on an
// 8-bit terminal and typed back, a window that changes size under a menu and
// its field, and a program stopped by a signal or by losing its terminal.
#include "base/iolock.h"
#include "frame/sysrec.h"
#include "support/tmux.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

const std::string BIN = NV_BIN_DIR;
const nvt::Env UTF8 = {{"LC_ALL", "C.UTF-8"}};

std::string slurp(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

std::string value_in(const std::string &out) {
    size_t at = out.find("value=");
    return at == std::string::npos ? "?" : out.substr(at + 6, out.find('\n', at) - at - 6);
}

bool contains(const std::string &s, const std::string &part) {
    return s.find(part) != std::string::npos;
}

TEST(Charset, Utf8TerminalShowsAndTypesTheCodePage) {
    nvt::TempDir dir;
    nvt::Tmux tm;
    tm.start(BIN + "/fieldlab 10s --list 'Désirée,Ærø,Zoë' --out " + dir.file("out"), dir.path(),
             UTF8);
    ASSERT_TRUE(tm.wait_for("Désirée")) << tm.screen();
    EXPECT_TRUE(contains(tm.screen(), "Ærø")) << tm.screen();
    tm.type("Æ"); // its hot letter picks it
    ASSERT_TRUE(tm.wait_for("Veld     Ærø_______")) << tm.screen();
    tm.keys({"End"});
    tm.type("é€"); // the euro isn't in the code page: refused, nothing stored
    ASSERT_TRUE(tm.wait_for("Ongeldige toets")) << tm.screen();
    tm.type("Ø");
    ASSERT_TRUE(tm.wait_for("Veld     ÆrøéØ_____")) << tm.screen();
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_exit());
    EXPECT_EQ(value_in(slurp(dir.file("out"))), "\x92r\x9b\x82\x9d");
}

// An 8-bit locale of its own when the system can make one, else C.
TEST(Charset, EightBitTerminalGetsAndGivesTheBytes) {
    nvt::TempDir dir;
    int st;
    nvt::run("localedef -i nl_NL -f ISO-8859-1 " + dir.file("nl_NL.ISO-8859-1") +
                 " >/dev/null 2>&1",
             &st);
    nvt::Env env = {{"LOCPATH", dir.path()}, {"LC_ALL", st == 0 ? "nl_NL.ISO-8859-1" : "C"}};
    nvt::Tmux tm;
    tm.start(BIN + "/fieldlab 10s --value Caf --out " + dir.file("out"), dir.path(), env);
    ASSERT_TRUE(tm.wait_for("Veld     Caf")) << tm.screen();
    tm.record(dir.file("raw"));
    tm.keys({"End"});
    tm.raw("\x82\x9d");
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_exit());
    EXPECT_EQ(value_in(slurp(dir.file("out"))), "Caf\x82\x9d");
    std::string raw = slurp(dir.file("raw"));
    EXPECT_TRUE(contains(raw, "\x82") && contains(raw, "\x9d")) << raw;
    EXPECT_FALSE(contains(raw, "\xc3")) << "UTF-8 on an 8-bit terminal";
}

class Program : public ::testing::Test {
  protected:
    nvt::TempDir shop;

    void make(const std::string &args = "--user BEHEER:S:norvanke") {
        int st;
        std::string out = nvt::run(BIN + "/mkdemo " + shop.path() + " " + args + " 2>&1", &st);
        ASSERT_EQ(st, 0) << out;
    }
    void start(nvt::Tmux &tm, const std::string &args, nvt::Env env = {}) {
        env.push_back({"BIN", shop.path() + "/bin"});
        tm.start(BIN + "/norvanke norvanke " + args, shop.path(), env);
    }
    pid_t holder() {
        int fd = open(shop.file("DTSYS.TXT").c_str(), O_RDWR);
        pid_t p = nv::lock_holder(fd, sysmap::USERS.base, sysmap::USERS.length);
        close(fd);
        return p;
    }
    bool user_free() { // within five seconds
        for (int i = 0; i < 100 && holder() != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return holder() == 0;
    }
};

TEST_F(Program, WindowChangesUnderTheMenuAndAnAccentedUser) {
    make("--user 'JOS\x90:S:norvanke'");
    nvt::Tmux tm(70, 20); // too small from the start
    start(tm, "'JOS\x90' 1 norpot", UTF8);
    ASSERT_TRUE(tm.wait_for("Het venster is te klein (70 x 20): nodig is 80 x 25")) << tm.screen();
    tm.resize(80, 25);
    ASSERT_TRUE(tm.wait_for("Uw keuze  11")) << tm.screen();
    tm.type("3");
    ASSERT_TRUE(tm.wait_for("Uw keuze  3_")) << tm.screen();
    tm.resize(60, 30);
    ASSERT_TRUE(tm.wait_for("nodig is 80 x 25")) << tm.screen();
    tm.resize(100, 30);
    ASSERT_TRUE(tm.wait_for("Uw keuze  3_")) << tm.screen();
    EXPECT_TRUE(contains(tm.screen(), "11 Verkopen/retouren")) << tm.screen();
    EXPECT_FALSE(contains(tm.screen(), "Ongeldige toets")) << tm.screen();
    tm.keys({"F10"});
    ASSERT_TRUE(tm.wait_for("JOSÉ (S)")) << tm.screen();
}

TEST_F(Program, SignalsAndALostTerminalEndItCleanly) {
    make();
    {
        nvt::Tmux tm;
        // The program's status, then the terminal's settings after it.
        start(tm, "BEHEER 1 norpot; echo $? > rc; stty -a > stty");
        ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
        ASSERT_GT(holder(), 0);
        kill(holder(), SIGTERM);
        ASSERT_TRUE(tm.wait_for("Programma gestopt door signaal 15")) << tm.screen();
        ASSERT_TRUE(tm.wait_exit());
        EXPECT_EQ(slurp(shop.file("rc")), "1\n");
        std::string stty = " " + slurp(shop.file("stty"));
        std::replace(stty.begin(), stty.end(), '\n', ' ');
        for (const char *on : {" icanon", " echo ", " isig", " icrnl"})
            EXPECT_TRUE(contains(stty, on)) << on << stty;
        EXPECT_TRUE(user_free());
    }
    {
        nvt::Tmux tm; // the pane closes: a hang-up
        start(tm, "BEHEER 1 norpot");
        ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    }
    EXPECT_TRUE(user_free());
    nvt::Tmux tm; // a terminal that gives end of file
    start(tm, "BEHEER 1 norpot < /dev/null");
    ASSERT_TRUE(tm.wait_for("Programma gestopt: de terminal is weg")) << tm.screen();
    ASSERT_TRUE(tm.wait_exit());
    EXPECT_EQ(tm.exit_status(), 1);
    EXPECT_TRUE(user_free());
}

} // namespace
