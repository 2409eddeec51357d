// The real program under tmux: start as the suite starts it, the checks of
// the argument list against the user's record, the lock on that record, and
// the hand-over to the next program.
#include "base/iolock.h"
#include "frame/sysrec.h"
#include "support/tmux.h"

#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const std::string BIN = NV_BIN_DIR;

class Start : public ::testing::Test {
  protected:
    nvt::TempDir shop;
    nvt::Tmux tm;

    void make(const std::string &extra = "--user BEHEER:S:norvanke --user VERKOOP:N:norpot") {
        int st;
        std::string out = nvt::run(BIN + "/mkdemo " + shop.path() + " " + extra + " 2>&1", &st);
        ASSERT_EQ(st, 0) << out;
    }
    void start(const std::string &args, const nvt::Env &env = {}) {
        nvt::Env e = {{"BIN", shop.path() + "/bin"}};
        e.insert(e.end(), env.begin(), env.end());
        tm.start(BIN + "/norvanke " + args, shop.path(), e);
    }
    sys_gebruiker user(int nr) {
        sys_gebruiker u{};
        std::ifstream f(shop.file("DTSYS.TXT"), std::ios::binary);
        f.seekg(sysmap::USERS.base + (nr - 1) * sysmap::USERS.length);
        f.read(reinterpret_cast<char *>(&u), sizeof u);
        return u;
    }
    pid_t user_lock_holder(int nr) {
        int fd = open(shop.file("DTSYS.TXT").c_str(), O_RDWR);
        pid_t p = nv::lock_holder(fd, sysmap::USERS.base + (nr - 1) * sysmap::USERS.length, sysmap::USERS.length);
        close(fd);
        return p;
    }
    void expect_fatal(const std::string &text) {
        ASSERT_TRUE(tm.wait_for(text)) << tm.screen();
        EXPECT_NE(tm.screen().find("PROGRAMMA AFGEBROKEN"), std::string::npos);
        EXPECT_NE(tm.screen().find("Neem contact op met de Support-groep"), std::string::npos);
        tm.keys({"Enter"});
        ASSERT_TRUE(tm.wait_exit());
        EXPECT_EQ(tm.exit_status(), 1);
    }
};

TEST_F(Start, GoodStartHoldsTheUserAndHandsOverToTheMenu) {
    make();
    // A saved menu position that the hand-over to norpot moves over.
    {
        std::fstream f(shop.file("DTSYS.TXT"), std::ios::in | std::ios::out | std::ios::binary);
        uint16_t pos = 7;
        f.seekp(sysmap::USERS.base + 44);
        f.write(reinterpret_cast<char *>(&pos), 2);
    }
    start("norvanke BEHEER 1 norpot");
    ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    EXPECT_EQ(tm.row(1).substr(0, 13), "norvanke 8.70");
    tm.keys({"F10"});
    ASSERT_TRUE(tm.wait_for("<ENTER> voor vervolg")) << tm.screen();
    EXPECT_NE(tm.screen().find("BEHEER (S)"), std::string::npos);
    EXPECT_NE(tm.screen().find("Brandel8.70  3F"), std::string::npos);
    EXPECT_GT(user_lock_holder(1), 0);
    EXPECT_EQ(user(1).status, US_WORK);

    time_t before = time(nullptr);
    tm.keys({"Enter"});
    ASSERT_TRUE(tm.wait_gone("<ENTER> voor vervolg"));
    tm.cancel();
    ASSERT_TRUE(tm.wait_for("SUITE MENU (demo)")) << tm.screen();
    std::ifstream log(shop.file("suite.log"));
    std::string line;
    std::getline(log, line);
    EXPECT_EQ(line, "norpot BEHEER 1 norvanke");
    sys_gebruiker u = user(1);
    EXPECT_EQ(u.status, US_HANDOVER);
    EXPECT_STREQ(u.programma, "norpot");
    EXPECT_GE(u.tijdstip, before - 1);
    EXPECT_EQ(u.menu_vorig, 7);
    EXPECT_EQ(u.menu_positie, 0);
    EXPECT_EQ(user_lock_holder(1), 0);
    tm.type("0\n");
    ASSERT_TRUE(tm.wait_exit());
}

TEST_F(Start, TheSuiteMenuStartsTheProgramAgain) {
    make("--user BEHEER:S:norpot");
    tm.start("bin/norpot norpot BEHEER 1 login", shop.path(), {{"BIN", shop.path() + "/bin"}});
    ASSERT_TRUE(tm.wait_for("Uw keuze"));
    tm.type("1\n");
    // The stand-in's own "Uw keuze" stays on the screen until the program
    // has drawn its menu: wait for the stand-in's text to go first.
    ASSERT_TRUE(tm.wait_gone("SUITE MENU (demo)", 10000)) << tm.screen();
    ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    EXPECT_STREQ(user(1).programma, "norvanke");
    tm.cancel();
    ASSERT_TRUE(tm.wait_for("terug van norvanke")) << tm.screen();
}

// A second start of a user who is at work waits for the user's record and
// names who holds it; when the first leaves, the record names norpot.
TEST_F(Start, SecondStartWaitsForTheUserRecord) {
    make();
    start("norvanke BEHEER 1 norpot");
    ASSERT_TRUE(tm.wait_for("Uw keuze"));
    nvt::Tmux second;
    second.start(BIN + "/norvanke norvanke BEHEER 1 norpot", shop.path(), {{"BIN", shop.path() + "/bin"}});
    ASSERT_TRUE(second.wait_for("SYSTEEM-Informatie in gebruik door BEHEER")) << second.screen();
    EXPECT_NE(second.row(25).find("SYSTEEM-"), std::string::npos);
    tm.cancel();
    ASSERT_TRUE(second.wait_for("norvanke foutief gestart, code 0", 8000)) << second.screen();
}

// A catalogue whose release message reads an argument too many is not used.
TEST_F(Start, ReleaseOfTheFilesMustMatch) {
    make("--user BEHEER:S:norvanke --release 8.70X");
    std::ofstream(shop.file("det.msg")) << "$set 1\n142 Release %s van %s\n";
    nvt::run("gencat " + shop.file("DETAIL") + " " + shop.file("det.msg"));
    start("norvanke BEHEER 1 norpot", {{"NLSPATH", shop.path() + "/%N"}});
    expect_fatal("Foutieve release: bestanden van 8.70X");
    std::ofstream(shop.file("DTSYS.TXT"), std::ios::binary)
        << std::string(sysmap::FILE_SIZE, '\x1b');
    nvt::Tmux t;
    t.start(BIN + "/norvanke norvanke BEHEER 1 norpot", shop.path());
    ASSERT_TRUE(t.wait_for("DTSYS.TXT is beschadigd: geen leesbare release")) << t.screen();
}

TEST_F(Start, WrongStartCodes) {
    make("--user BEHEER:S:norvanke --user ANNA:N:norbilst");
    struct Case {
        const char *args;
        int code;
    } cases[] = {
        {"norvanke BEHEER 1", 99},         // three arguments
        {"norvanke BEHEER 0 norpot", 2},   // user number 0
        {"norvanke BEHEER 50 norpot", 2},  // no such user record
        {"norvanke PIET 1 norpot", 1},     // another name
        {"norpot BEHEER 1 norpot", 0},     // record names another program
        {"norbilst ANNA 2 norpot", 13},    // consistent, but not us
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.args);
        nvt::Tmux t;
        t.start(BIN + "/norvanke " + c.args, shop.path(), {{"BIN", shop.path() + "/bin"}});
        std::string text = "norvanke foutief gestart, code " + std::to_string(c.code);
        ASSERT_TRUE(t.wait_for(text)) << t.screen();
        EXPECT_NE(t.screen().find("Program      norvanke"), std::string::npos);
        t.keys({"Enter"});
        ASSERT_TRUE(t.wait_exit());
        EXPECT_EQ(t.exit_status(), 1);
    }
    // No wrong start left a user locked. Code 13 comes after the status was
    // set to "at work", and a fatal stop leaves the status as it was.
    EXPECT_EQ(user_lock_holder(1), 0);
    EXPECT_EQ(user(1).status, US_FREE);
    EXPECT_EQ(user(2).status, US_WORK);
}

TEST_F(Start, UnknownTerminalStopsWithStatusTen) {
    make();
    start("norvanke BEHEER 1 norpot", {{"TERM", "onbekend"}});
    ASSERT_TRUE(tm.wait_exit());
    EXPECT_EQ(tm.exit_status(), 10);
    EXPECT_NE(tm.screen().find("Onbekende terminfo (Onbekend)"), std::string::npos) << tm.screen();
}

TEST_F(Start, TestVersionsAreTriedFirst) {
    make();
    std::string tst = shop.file("tst");
    nvt::run("mkdir -p " + tst + " && printf '#!/bin/sh\\necho \"test $0 $*\" >> suite.log\\n' > " + tst +
             "/norpot && chmod +x " + tst + "/norpot");
    start("norvanke BEHEER 1 norpot", {{"TSTBIN", tst}});
    ASSERT_TRUE(tm.wait_for("Uw keuze"));
    tm.cancel();
    ASSERT_TRUE(tm.wait_exit());
    std::ifstream log(shop.file("suite.log"));
    std::string line;
    std::getline(log, line);
    EXPECT_EQ(line, "test " + tst + "/norpot norpot BEHEER 1 norvanke");
}

TEST_F(Start, MissingNextProgramIsReported) {
    make();
    start("norvanke BEHEER 1 norpot", {{"BIN", "/nonexistent"}, {"PATH", "/usr/bin:/bin"}});
    ASSERT_TRUE(tm.wait_for("Uw keuze"));
    tm.cancel();
    expect_fatal("Programma norpot niet gevonden");
}

} // namespace

namespace {

// Files laid down byte by byte from their layout, not with the project's own
// structures or builder: the program must start on them.
TEST(StartOnHandWrittenFiles, StartsAndShowsWhatTheBytesSay) {
    nvt::TempDir shop;
    std::string sys(122952, '\0');
    sys[39] = 2;                                   // aantal_fil
    sys.replace(9 * 64 + 58, 5, "8.70 ");          // record 10, release mark
    sys.replace(2640, 3, "i5\xA0");                // user 1: "AB" scrambled with key 0xA0
    sys[2640 + 39] = 'S';                          // rechten
    sys.replace(2640 + 48, 8, "norvanke");         // programma
    std::ofstream(shop.file("DTSYS.TXT"), std::ios::binary) << sys;
    std::ofstream(shop.file("DTFILGEG.TXT"), std::ios::binary) << std::string(3 * 612, '\0');
    // The payment means tables must be there, empty as they may be.
    std::ofstream(shop.file("DTBETM.TXT"), std::ios::binary) << "";
    std::ofstream(shop.file("DTBETMX.TXT"), std::ios::binary) << "";
    std::ofstream(shop.file("DTETI.TXT"), std::ios::binary); // a label store without labels
    // The master file set, empty, made by the store's tool from its dictionary.
    for (const char *f : {"4 DTART", "55 DTSER", "1 DTAANV", "16 DTEAN", "6 DTARTREG", "27 DTKOERS",
                          "40 DTOMZGRP", "30 DTLEV", "34 DTMERK", "32 DTMAAT", "35 DTMTOM"})
        nvt::run("cd " + shop.path() + " && " + BIN + "/ixutil dd-create " + f);
    nvt::Tmux tm;
    tm.start(BIN + "/norvanke norvanke AB 1 norpot", shop.path(), {{"BIN", "/nonexistent"}});
    ASSERT_TRUE(tm.wait_for("Uw keuze")) << tm.screen();
    // No flags: no journal groups, so the supervisor's group is the third.
    EXPECT_NE(tm.screen().find("31 Transactieverslag (journaals)"), std::string::npos);
    tm.keys({"F10"});
    ASSERT_TRUE(tm.wait_for("<ENTER> voor vervolg")) << tm.screen();
    EXPECT_NE(tm.screen().find("AB (S)"), std::string::npos);
    EXPECT_NE(tm.screen().find("Brandel8.70  2F"), std::string::npos);
    // Status byte of user 1 is now 1: at work.
    std::ifstream f(shop.file("DTSYS.TXT"), std::ios::binary);
    f.seekg(2640 + 38);
    EXPECT_EQ(f.get(), 1);
}

} // namespace

namespace {

TEST(StartWithoutFiles, MissingSystemOrBranchFileIsFatal) {
    for (const char *missing : {"DTSYS.TXT", "DTFILGEG.TXT"}) {
        SCOPED_TRACE(missing);
        nvt::TempDir shop;
        int st;
        nvt::run(BIN + "/mkdemo " + shop.path() + " --user BEHEER:S:norvanke", &st);
        ASSERT_EQ(st, 0);
        ASSERT_EQ(unlink(shop.file(missing).c_str()), 0);
        nvt::Tmux tm;
        tm.start(BIN + "/norvanke norvanke BEHEER 1 norpot", shop.path());
        std::string tag = std::string(missing) == "DTSYS.TXT" ? "IOSYS" : "IOFIL";
        ASSERT_TRUE(tm.wait_for(tag + ": Open niet gelukt (file=" + missing + ", errno=2)")) << tm.screen();
        tm.keys({"Enter"});
        ASSERT_TRUE(tm.wait_exit());
        EXPECT_EQ(tm.exit_status(), 1);
    }
}

} // namespace
