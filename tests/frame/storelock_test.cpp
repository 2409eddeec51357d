// The application's in-use line for the record store: a record held by
// another process, whose user is at work (user slot locked in the system
// file), is named with that user's name and terminal while this process
// waits for it.
#include "base/iolock.h"
#include "demoshop.h"
#include "frame/iosys.h"
#include "frame/start.h"
#include "store/ix.h"
#include "store/ixhook.h"
#include "support/tmux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string g_line;
int g_release = -1;

TEST(StoreLock, WaitNamesTheUserWhoHoldsTheRecord) {
    nvt::TempDir dir;
    demo::Options o;
    o.users[1].tty = "pts7";
    ASSERT_EQ(demo::build(dir.path(), o), "");
    char cwd[4096];
    ASSERT_TRUE(getcwd(cwd, sizeof cwd));
    ASSERT_EQ(chdir(dir.path().c_str()), 0); // the program's files lie in its directory
    ICB *icb = IXCREATE("DTSLOT", 1);
    IXUPDFCB(icb, 0, "slotproef,8");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXINIT(icb);
    uint32_t rec[2] = {7, 0};
    IXWRITE(icb, rec);
    IXCLOSE(icb);

    int ready[2], release[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(release), 0);
    pid_t kid = fork();
    if (kid == 0) {
        // User 2 (VERKOOP) at work, holding record 7.
        int sys = open("DTSYS.TXT", O_RDWR);
        IOLOCK('S', sys, sysmap::USERS.base + sysmap::USERS.length, sysmap::USERS.length);
        ICB *f = IXOPEN("DTSLOT", 2);
        uint32_t r[2] = {7, 0};
        char x;
        if (IXREADL(f, r) != 1 || write(ready[1], "r", 1) != 1 || read(release[0], &x, 1) != 1)
            _exit(3);
        IXUNLOCK(f, r);
        IXCLOSE(f);
        _exit(0);
    }
    char x;
    ASSERT_EQ(read(ready[0], &x, 1), 1);
    long n;
    char buf[64];
    ASSERT_TRUE(iosys('O', &n, buf, sysmap::USERS));
    g_release = release[1];
    nv::store::set_inuse_hook([](ICB *f) {
        char line[320];
        frame::store_inuse_text(f, line, sizeof line);
        if (g_line.empty() && write(g_release, "g", 1) != 1) std::abort();
        g_line = line;
    });
    ICB *f = IXOPEN("DTSLOT", 2);
    uint32_t r[2] = {7, 0};
    EXPECT_EQ(IXREADL(f, r), 1);
    IXUNLOCK(f, r);
    IXCLOSE(f);
    nv::store::set_inuse_hook(nullptr);
    EXPECT_EQ(g_line, "DTSLOT: slotproef --> Informatie in gebruik door VERKOOP (ttypts7)");
    int st;
    ASSERT_EQ(waitpid(kid, &st, 0), kid);
    EXPECT_EQ(WEXITSTATUS(st), 0);
    n = 1;
    iosys('C', &n, buf, sysmap::USERS);
    ASSERT_EQ(chdir(cwd), 0);
}

} // namespace
