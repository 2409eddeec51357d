// The system file: record addressing and walks, the lock primitive between
// two real processes, the lock-holder text, and the branch file's slots.
#include "base/iolock.h"
#include "demoshop.h"
#include "frame/iosys.h"
#include "support/tmux.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class SysFile : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    void SetUp() override {
        demo::Options o;
        o.users[1].tty = "pts3";
        ASSERT_EQ(demo::build(dir.path(), o), "");
        iosys_filename(dir.file("DTSYS.TXT").c_str());
        iofil_filename(dir.file("DTFILGEG.TXT").c_str());
        long n;
        ASSERT_TRUE(iosys('O', &n, buf, sysmap::USERS));
        EXPECT_EQ(n, 1);
    }
    void TearDown() override {
        long n = 1;
        iofil('C', 0, nullptr);
        iosys('C', &n, buf, sysmap::USERS);
        iosys_filename("DTSYS.TXT");
        iofil_filename("DTFILGEG.TXT");
    }
    char buf[64];
};

TEST_F(SysFile, ReadsOnlyFilledRecordsInRange) {
    long n = 0;
    EXPECT_FALSE(iosys('R', &n, buf, sysmap::USERS));
    n = 100;
    EXPECT_FALSE(iosys('R', &n, buf, sysmap::USERS));
    n = 3;
    EXPECT_TRUE(iosys('R', &n, buf, sysmap::USERS));
    n = 4; // all zeros: empty
    EXPECT_FALSE(iosys('R', &n, buf, sysmap::USERS));
    // Writing record 0 writes nothing.
    std::memset(buf, 'x', sizeof buf);
    n = 0;
    EXPECT_FALSE(iosys('W', &n, buf, sysmap::USERS));
}

TEST_F(SysFile, WalksSkipEmptyRecords) {
    long n = 1;
    ASSERT_TRUE(iosys('F', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 1);
    ASSERT_TRUE(iosys('N', &n, buf, sysmap::USERS));
    ASSERT_TRUE(iosys('N', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 3);
    EXPECT_FALSE(iosys('N', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 100); // one past the limit
    n = 50;            // 'F' starts where the caller says, then goes on as 'N'
    EXPECT_FALSE(iosys('F', &n, buf, sysmap::USERS));
    n = 50;
    ASSERT_TRUE(iosys('P', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 3);
    n = 1;
    EXPECT_FALSE(iosys('P', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 0);
    // 'D' clears a record: a walk then skips it.
    n = 2;
    ASSERT_TRUE(iosys('X', &n, buf, sysmap::USERS));
    ASSERT_TRUE(iosys('D', &n, buf, sysmap::USERS));
    n = 1;
    ASSERT_TRUE(iosys('N', &n, buf, sysmap::USERS));
    EXPECT_EQ(n, 3);
    EXPECT_FALSE(iosys('Q', &n, buf, sysmap::USERS));
}

TEST_F(SysFile, WriteKeepsOrDropsTheLock) {
    long n = 2;
    sys_gebruiker u;
    ASSERT_TRUE(iosys('X', &n, &u, sysmap::USERS));
    u.status = 7;
    ASSERT_TRUE(iosys('w', &n, &u, sysmap::USERS));
    sys_gebruiker back{};
    ASSERT_TRUE(iosys('R', &n, &back, sysmap::USERS));
    EXPECT_EQ(back.status, 7);
    EXPECT_EQ(back.rechten, 'N');
    ASSERT_TRUE(iosys('W', &n, &u, sysmap::USERS));
    EXPECT_TRUE(iosys('T', &n, &u, sysmap::USERS));
}

// Runs `child` in a forked process that signals readiness through a pipe and
// then waits until the parent closes the other pipe.
struct Child {
    pid_t pid = -1;
    int go[2], done[2];
    template <class F> explicit Child(F child) {
        if (pipe(go) != 0 || pipe(done) != 0) return;
        pid = fork();
        if (pid == 0) {
            close(go[0]);
            close(done[1]);
            child();
            char c = 1;
            if (write(go[1], &c, 1) != 1) _exit(3);
            if (read(done[0], &c, 1) < 0) _exit(3);
            _exit(0);
        }
        close(go[1]);
        close(done[0]);
        char c;
        if (read(go[0], &c, 1) != 1) pid = -1;
    }
    ~Child() {
        close(done[1]);
        int st;
        if (pid > 0) waitpid(pid, &st, 0);
    }
};

TEST_F(SysFile, LocksExcludeOtherProcesses) {
    std::string path = dir.file("DTSYS.TXT");
    int fd = iosys_fd();
    {
        Child c([&] {
            int cfd = open(path.c_str(), O_RDWR);
            IOLOCK('E', cfd, 100, 10);
            IOLOCK('S', cfd, 200, 10);
        });
        ASSERT_GT(c.pid, 0);
        EXPECT_FALSE(IOLOCK('E', fd, 105, 1));
        EXPECT_FALSE(IOLOCK('S', fd, 100, 10));
        EXPECT_FALSE(IOLOCK('T', fd, 100, 10));
        EXPECT_TRUE(IOLOCK('T', fd, 110, 10));
        // 'S' excludes readers too, unlike a plain read lock.
        EXPECT_FALSE(IOLOCK('S', fd, 200, 10));
        EXPECT_EQ(nv::lock_holder(fd, 200, 10), c.pid);
        EXPECT_TRUE(IOLOCK('E', fd, 300, 10));
    }
    // With the other process gone, everything is free again.
    EXPECT_TRUE(IOLOCK('S', fd, 100, 10));
    EXPECT_TRUE(IOLOCK('U', fd, 100, 10));
    EXPECT_TRUE(IOLOCK('U', fd, 300, 10));
    EXPECT_FALSE(IOLOCK('?', fd, 100, 10));
}

// When the other holder of a refused 'S' holds the whole file, the release
// goes by its region: every lock this process had on the file is gone.
TEST_F(SysFile, RefusedSharedLockReleasesByTheOtherRegion) {
    std::string path = dir.file("DTSYS.TXT");
    int fd = iosys_fd();
    ASSERT_TRUE(IOLOCK('S', fd, 5000, 1)); // a read lock underneath
    Child c([&] {
        int cfd = open(path.c_str(), O_RDWR);
        struct flock fl {};
        fl.l_type = F_RDLCK;
        fl.l_whence = SEEK_SET;
        fl.l_start = 0;
        fl.l_len = 0; // the whole file
        fcntl(cfd, F_SETLK, &fl);
    });
    ASSERT_GT(c.pid, 0);
    EXPECT_FALSE(IOLOCK('S', fd, 100, 10));
    // Our lock at 5000 went with it: a lock test from a third process finds
    // nothing of ours there any more.
    pid_t probe = fork();
    if (probe == 0) {
        int pfd = open(path.c_str(), O_RDWR);
        _exit(nv::lock_holder(pfd, 5000, 1) == getppid() ? 1 : 0);
    }
    int st;
    waitpid(probe, &st, 0);
    EXPECT_EQ(WEXITSTATUS(st), 0);
}

TEST_F(SysFile, LockTextNamesTheUserOfTheHoldingProcess) {
    std::string path = dir.file("DTSYS.TXT");
    off_t user2 = sysmap::USERS.base + sysmap::USERS.length;
    Child c([&] {
        int cfd = open(path.c_str(), O_RDWR);
        IOLOCK('S', cfd, user2, sysmap::USERS.length);
        IOLOCK('E', cfd, 13536 + 1, 1); // journal lock of branch 1
    });
    ASSERT_GT(c.pid, 0);
    char out[200];
    int fd = iosys_fd();
    sys_lock_text("", fd, 13537, 1, out, sizeof out);
    EXPECT_STREQ(out, "Informatie in gebruik door VERKOOP (ttypts3)");
    sys_lock_text("PROGRAMMA", fd, 13537, 1, out, sizeof out);
    EXPECT_STREQ(out, "Programma in gebruik door VERKOOP (ttypts3)");
    sys_lock_text("~Journaal", fd, 13537, 1, out, sizeof out);
    EXPECT_STREQ(out, "Journaal: in gebruik door VERKOOP (ttypts3)");
    sys_lock_text("", fd, 13538, 1, out, sizeof out);
    EXPECT_STREQ(out, "Informatie in gebruik op ander scherm");
}

TEST_F(SysFile, BranchSlotsAndNames) {
    ASSERT_TRUE(iofil('O', 0, nullptr));
    fil_rec r;
    ASSERT_TRUE(iofil('R', 0, &r));
    EXPECT_STREQ(r.naam, "Filiaal Centrum");
    EXPECT_EQ(r.kas_modus, 2);
    ASSERT_TRUE(iofil('R', 3, &r)); // aantal_fil: the central record
    EXPECT_STREQ(r.naam, "Modehuis Brandel Demo");
    ASSERT_TRUE(iofil('R', 2, &r));
    std::snprintf(r.naam, sizeof r.naam, "Filiaal Strand");
    ASSERT_TRUE(iofil('W', 2, &r));
    fil_rec again;
    ASSERT_TRUE(iofil('R', 2, &again));
    EXPECT_STREQ(again.naam, "Filiaal Strand");
    // On disk the name is scrambled, not in clear text.
    fil_rec raw;
    FILE *f = std::fopen(dir.file("DTFILGEG.TXT").c_str(), "rb");
    ASSERT_NE(f, nullptr);
    std::fseek(f, 3 * 612, SEEK_SET);
    ASSERT_EQ(std::fread(&raw, sizeof raw, 1, f), 1u);
    std::fclose(f);
    EXPECT_NE(std::strncmp(raw.naam, "Filiaal Strand", 14), 0);
}

TEST(SysFileSingleBranch, BranchZeroIsSlotOneAndOneIsCentral) {
    nvt::TempDir d;
    demo::Options o;
    o.branches = 1;
    ASSERT_EQ(demo::build(d.path(), o), "");
    iosys_filename(d.file("DTSYS.TXT").c_str());
    iofil_filename(d.file("DTFILGEG.TXT").c_str());
    long n;
    char b[64];
    iosys('O', &n, b, sysmap::FIXED);
    iofil('O', 0, nullptr);
    fil_rec r;
    ASSERT_TRUE(iofil('R', 0, &r));
    EXPECT_STREQ(r.naam, "Filiaal Centrum");
    ASSERT_TRUE(iofil('R', 1, &r));
    EXPECT_STREQ(r.naam, "Modehuis Brandel Demo");
    iofil('C', 0, nullptr);
    iosys('C', &n, b, sysmap::FIXED);
    iosys_filename("DTSYS.TXT");
    iofil_filename("DTFILGEG.TXT");
}

TEST(ActionPeriod, DateRangeAndBranchBit) {
    sys_actie a{};
    a.vanaf = 100;
    a.tot = 110;
    a.filialen[1] = 0x04; // branch 10
    EXPECT_TRUE(actie_geldig(a, 100, 10));
    EXPECT_TRUE(actie_geldig(a, 110, 10));
    EXPECT_FALSE(actie_geldig(a, 111, 10));
    EXPECT_FALSE(actie_geldig(a, 99, 10));
    EXPECT_FALSE(actie_geldig(a, 105, 9));
}

} // namespace
