// Destinations against a real spooler: the choice of code, connection and
// format, and the delivery of finished prints to a spooler queue (copies
// included), a file, a drop directory and a device whose name would be a
// shell command, with nothing left behind.
#include "cupsd.h"
#include "demoshop.h"
#include "print/prt.h"
#include "print/prttab.h"
#include "store/ix.h"
#include "support/headless.h"
#include "support/tmux.h"
#include "term/popup.h"

#include <dirent.h>
#include <sys/stat.h>

namespace {

using nvtest::keys;

class PrtDest : public nvtest::Headless {
  protected:
    nvt::TempDir dir;
    nvtest::PrivateCups cups;
    char old_cwd[4096] = {};

    void SetUp() override {
        Headless::SetUp();
        ASSERT_TRUE(getcwd(old_cwd, sizeof old_cwd));
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        ASSERT_EQ(demo::build_printers(".", "testq"), "");
        std::string why = cups.start(dir.file("cups"), "testq");
        if (!why.empty()) GTEST_SKIP() << "the spooler can't run here: " << why;
        setenv("CUPS_SERVER", cups.socket().c_str(), 1);
    }
    void TearDown() override {
        cups.stop();
        unsetenv("CUPS_SERVER");
        EXPECT_EQ(chdir(old_cwd), 0);
        Headless::TearDown();
    }

    // A report of two lines on one page; the bytes it makes (without start
    // and end codes) are "regel 1\nregel 2\n\f".
    bool report(PRTDEST dest, uint16_t mask, int copies, const char *file = nullptr) {
        if (!XPRT_OPEN(&dest, mask, file)) return false;
        PRT_NEWPAGE();
        for (int i = 1; i <= 2; ++i)
            PRT_PRINT("regel %d", i), PRT_LINE();
        prt_job.job_copies = copies;
        PRT_CLOSE("");
        return true;
    }

    // Names in a directory that start with `prefix`.
    static std::vector<std::string> names(const std::string &d, const std::string &prefix) {
        std::vector<std::string> out;
        DIR *dp = opendir(d.c_str());
        for (dirent *e; dp && (e = readdir(dp));)
            if (std::string(e->d_name).rfind(prefix, 0) == 0) out.push_back(e->d_name);
        if (dp) closedir(dp);
        return out;
    }

    // Background deliveries: polls until pred holds (10 s at most).
    template <typename P> static bool settles(P pred) {
        for (int i = 0; i < 400 && !pred(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        return pred();
    }
};

const std::string body = "regel 1\nregel 2\n\f";

TEST_F(PrtDest, DeliveryToQueueFileDirectoryAndDevice) {
    // The spooler queue: one lp command for all copies; the wide format's
    // start and end codes around the print.
    ASSERT_TRUE(report({2, 0, 0}, PRT_W132, 3));
    EXPECT_TRUE(prt_job.job_spool);
    ASSERT_TRUE(report({2, 0, 0}, PRT_W80, 1));
    auto jobs = cups.jobs(2);
    ASSERT_EQ(jobs.size(), 2u);
    // Both commands run in the background: either may reach the queue first.
    if (jobs[0].copies == 1) std::swap(jobs[0], jobs[1]);
    EXPECT_EQ(jobs[0].data, "\x0F" + body + "\x12");
    EXPECT_EQ(jobs[0].copies, 3);
    EXPECT_EQ(jobs[1].data, body);
    EXPECT_EQ(jobs[1].copies, 1);

    // A name the spooler doesn't know is a file: each copy appended.
    ASSERT_TRUE(report({3, 0, 0}, PRT_W80, 3));
    EXPECT_FALSE(prt_job.job_spool);
    std::string three = body + body + body;
    EXPECT_TRUE(settles([&] { return cups.slurp("afdruk.txt") == three; }));

    // An empty report leaves nothing and sends nothing.
    PRTDEST file = {3, 0, 0};
    ASSERT_TRUE(XPRT_OPEN(&file, PRT_W80, nullptr));
    PRT_CLOSE("");

    // A drop directory: the file appears complete under a "TR" name.
    ASSERT_TRUE(report({4, 0, 0}, PRT_W80, 2));
    EXPECT_EQ(names("uitvoer", "PR").size(), 0u);
    auto done = names("uitvoer", "TR");
    ASSERT_EQ(done.size(), 1u);
    EXPECT_EQ(cups.slurp("uitvoer/" + done[0]), body);

    // A device name with a blank and a ';' is one name to the shell.
    ICB *c = IXOPEN("TR_PTRC", 1);
    TR_PTRC_REC r{};
    r.tr_code = 3;
    r.cd_id = 2;
    nv::prt::put_field(r.cd_dev, sizeof r.cd_dev, "uit bestand;touch geraakt");
    IXWRITE(c, &r);
    IXCLOSE(c);
    ASSERT_TRUE(report({3, 0, 2}, PRT_W80, 2));
    EXPECT_TRUE(settles([&] { return cups.slurp("uit bestand;touch geraakt") == body + body; }));
    EXPECT_NE(access("geraakt", F_OK), 0);

    EXPECT_TRUE(settles([&] { return names(".", "PR").empty(); })) << names(".", "PR")[0];
    EXPECT_EQ(cups.slurp("afdruk.txt"), three);
    EXPECT_EQ(cups.jobs(2).size(), 2u);
}

TEST_F(PrtDest, ChoiceOfCodeConnectionAndFormat) {
    struct Case {
        const char *what;
        PRTDEST dest;
        uint16_t mask;
        const char *file;
        std::vector<int> keys;
        bool open;
        int cols;
        const char *device; // start of job_device
        bool preview;
    };
    const int down = key_down, f3 = key_f3;
    const Case cases[] = {
        {"two formats fit: the first chosen", {2, 0, 0}, 6, nullptr, {f3}, true, 80, "testq", 0},
        {"two formats fit: the second chosen",
         {2, 0, 0},
         6,
         nullptr,
         {down, f3},
         true,
         132,
         "testq",
         0},
        {"one format fits", {2, 0, 0}, PRT_W80, nullptr, {}, true, 80, "testq", 0},
        {"an unknown code chooses from all",
         {99, 0, 0},
         2,
         nullptr,
         {f3},
         true,
         80,
         "/dev/null",
         1},
        {"the screen is the preview", {1, 0, 0}, PRT_W40, nullptr, {}, true, 40, "/dev/null", 1},
        {"no format fits", {4, 0, 0}, PRT_W40, nullptr, {'\n'}, false, 0, "", 0},
        {"none fits but the preview will do",
         {4, 1, 0},
         PRT_W40,
         nullptr,
         {},
         true,
         40,
         "uitvoer/PR",
         1},
        {"an absent connection: the only one",
         {3, 0, 7},
         PRT_W80,
         nullptr,
         {},
         true,
         80,
         "afdruk.txt",
         0},
        {"a file needs a name", {0, 2, 0}, PRT_W80, "", {'\n'}, false, 0, "", 0},
        {"a file with a 40-character name",
         {0, 2, 0},
         PRT_W80,
         "0123456789012345678901234567890123456789",
         {'\n'},
         false,
         0,
         "",
         0},
        {"a file: width from the mask", {0, 2, 0}, PRT_W80, "uit.txt", {}, true, 80, "uit.txt", 0},
        {"a file: width from the menu", {0, 2, 0}, 6, "uit.txt", {'1'}, true, 132, "uit.txt", 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<int> k = c.keys;
        for (auto it = k.rbegin(); it != k.rend(); ++it)
            KEYPUSH(*it);
        PRTDEST d = c.dest;
        ASSERT_EQ(XPRT_OPEN(&d, c.mask, c.file), c.open);
        EXPECT_FALSE(KEYHIT()) << "a key left unread";
        if (!c.open) continue;
        EXPECT_EQ(prt_cols, c.cols);
        EXPECT_EQ(std::string(prt_job.job_device).rfind(c.device, 0), 0u) << prt_job.job_device;
        EXPECT_EQ(prt_job.job_preview, c.preview);
        PRT_CLOSE("");
    }

    // Control codes of the format.
    PRTDEST wide = {2, 0, 0};
    ASSERT_TRUE(XPRT_OPEN(&wide, PRT_W132, nullptr));
    EXPECT_STREQ(PRT_CODE(18), "\x0F");
    EXPECT_STREQ(PRT_CODE(19), "\x12");
    EXPECT_STREQ(PRT_CODE(1), "\x1B"
                              "E");
    EXPECT_STREQ(PRT_CODE(2), "");
    PRT_CLOSE("");

    // Without leave to cancel, the list comes back until a choice is made.
    PRT_CANCELOK(0);
    keys({key_esc, key_f3});
    PRTDEST any = {0, 0, 0};
    EXPECT_TRUE(XPRT_OPEN(&any, PRT_W80, nullptr));
    EXPECT_EQ(any.dest_code, 1);
    PRT_CLOSE("");
    PRT_CANCELOK(1);

    // ZOKPRT: a file is not a directory (said once, then the current one);
    // a directory without its '/' gets the tables made in it.
    setenv("ZOKPRT", "afdruk.txt", 1);
    keys({'\n'});
    PRTDEST code2 = {2, 0, 0};
    EXPECT_TRUE(XPRT_OPEN(&code2, PRT_W80, nullptr));
    PRT_CLOSE("");
    mkdir("tabellen", 0775);
    setenv("ZOKPRT", (dir.path() + "/tabellen").c_str(), 1);
    PRTDEST screen = {1, 0, 0};
    EXPECT_TRUE(XPRT_OPEN(&screen, PRT_W80, nullptr));
    EXPECT_EQ(access("tabellen/TR_PTRCA.INX", R_OK), 0);
    PRT_CLOSE("");
    unsetenv("ZOKPRT");
}

// A damaged index is made anew from the data file; a data file that can't
// be the table's records is left alone and the open fails.
TEST_F(PrtDest, DamagedTablesAreRebuiltFromTheirData) {
    ASSERT_EQ(truncate("TR_PTRC.INX", 100), 0);
    ASSERT_EQ(unlink("TR_PTRP.INX"), 0);
    PRTDEST file = {3, 0, 0};
    ASSERT_TRUE(XPRT_OPEN(&file, PRT_W80, nullptr));
    EXPECT_STREQ(prt_job.job_device, "afdruk.txt");
    PRT_CLOSE("");
    std::string data = cups.slurp("TR_PTRG.TXT");
    std::ofstream("TR_PTRG.TXT", std::ios::app) << "xyz";
    keys({'\n', '\n'}); // the damage, then no destination
    EXPECT_FALSE(XPRT_OPEN(&file, PRT_W80, nullptr));
    EXPECT_EQ(cups.slurp("TR_PTRG.TXT"), data + "xyz");
}

} // namespace
