// An exclusive file keeps its records in memory until it is closed: a fatal
// stop must close it on the way out, or the file on disk would be damaged.
#include "base/fatal.h"
#include "store/ix.h"
#include "store/ixhook.h"
#include "store/ixreg.h"
#include "support/tmux.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(OpenFiles, FatalStopWritesExclusiveFilesBack) {
    nvt::TempDir dir;
    std::string name = dir.file("DTPROEF");
    struct Rec {
        int32_t nr;
        char naam[12];
    } r{};
    pid_t pid = fork();
    if (pid == 0) {
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, "proef,16");
        IXUPDFCB(icb, 1, "nummer,NODUPS,I,1,4");
        IXINIT(icb);
        for (r.nr = 1; r.nr <= 300; ++r.nr)
            IXWRITE(icb, &r);
        nv::fatal("%s", "stop"); // the default handler exits with 1
    }
    int status;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    // A file that was never written back reads as damaged: fail, don't wait.
    nv::store::set_eof_hook([](const char *) { return false; });
    nv::set_fatal_handler([](const char *t) { throw std::runtime_error(t); });
    int n = 0;
    ASSERT_NO_THROW({
        ICB *icb = IXOPEN(name.c_str(), 0);
        EXPECT_EQ(icb->hdr.busy, 0);
        for (int ok = IXFIRST(icb, &r); ok; ok = IXNEXTR(icb, &r))
            EXPECT_EQ(r.nr, ++n);
        IXCLOSE(icb);
    });
    EXPECT_EQ(n, 300);
    EXPECT_EQ(nv::store::open_icbs(), 0);
    nv::store::set_eof_hook(nullptr);
    nv::set_fatal_handler(nullptr);
}

} // namespace
