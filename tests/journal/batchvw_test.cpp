// Batch coordination between real processes: children hold a user's byte
// or a job's claim, this process claims or enters on a headless screen and
// answers the question; the window is read at the moment of the answer.
#include "demoshop.h"
#include "frame/iosys.h"
#include "journal/batchvw.h"
#include "support/headless.h"
#include "support/tmux.h"

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<int> g_script;
std::string g_window; // the window when the first scripted key was read

bool scripted(int *key) {
    if (g_script.empty()) return false;
    if (g_window.empty())
        for (int y = 0; y < getmaxy(WINCUR()); ++y)
            g_window += nvtest::row_of(WINCUR(), y) + "\n";
    *key = g_script.front();
    g_script.erase(g_script.begin());
    return true;
}
bool pending() {
    return !g_script.empty();
}
const MacroHooks k_hooks{scripted, nullptr, pending, nullptr, nullptr, nullptr};

// A process that takes a lock and keeps it until let go.
struct Holder {
    pid_t pid = -1;
    int go = -1;
    Holder(long user, std::function<bool()> take) {
        int ready[2], hold[2];
        if (pipe(ready) != 0 || pipe(hold) != 0) return;
        pid = fork();
        if (pid == 0) {
            batchvw_set_user(user);
            char ok = take() ? 1 : 0, c;
            if (write(ready[1], &ok, 1) != 1 || read(hold[0], &c, 1) < 0) _exit(1);
            _exit(0);
        }
        close(hold[0]);
        go = hold[1];
        char ok = 0;
        EXPECT_EQ(read(ready[0], &ok, 1), 1);
        EXPECT_EQ(ok, 1);
        close(ready[0]);
        close(ready[1]);
    }
    ~Holder() { let_go(); }
    void let_go() {
        if (pid <= 0) return;
        EXPECT_EQ(write(go, "x", 1), 1);
        close(go);
        waitpid(pid, nullptr, 0);
        pid = -1;
    }
};

class Batch : public nvtest::Headless {
  protected:
    nvt::TempDir dir;
    void SetUp() override {
        ASSERT_EQ(demo::build(dir.path(), demo::Options{}), "");
        iosys_filename(dir.file("DTSYS.TXT").c_str());
        long n = 1;
        iosys('O', &n, nullptr, sysmap::FIXED);
        Headless::SetUp();
        SCRMACROHOOKS(&k_hooks);
    }
    void TearDown() override {
        SCRMACROHOOKS(nullptr);
        Headless::TearDown();
        long n = 1;
        iosys('C', &n, nullptr, sysmap::FIXED);
        iosys_filename("DTSYS.TXT");
    }
    void answer(std::vector<int> keys) {
        g_script = std::move(keys);
        g_window.clear();
    }
};

TEST_F(Batch, ActiveUsersBlockAClaimAndAreNamed) {
    Holder one(1, [] { return batchvw_enter(4, false); });
    Holder two(2, [] { return batchvw_enter(4, false); });
    batchvw_set_user(BATCH_USER); // gives up at once, without a window
    EXPECT_FALSE(batchvw_claim(4));
    EXPECT_EQ(term_state->term_wincount, 1);

    batchvw_set_user(3);
    answer({'n', '\n'});
    EXPECT_FALSE(batchvw_claim(4));
    EXPECT_NE(g_window.find("Er zijn gebruikers actief die verwerking blokkeren!"),
              std::string::npos);
    EXPECT_NE(g_window.find("Aantal gebruikers: 2"), std::string::npos) << g_window;
    EXPECT_TRUE(batchvw_claim(1)); // other groups are free
    batchvw_release(1);

    two.let_go();
    answer({'n', '\n'});
    EXPECT_FALSE(batchvw_claim(4));
    EXPECT_NE(g_window.find("Gebruiker: BEHEER"), std::string::npos) << g_window;
    one.let_go();
    EXPECT_TRUE(batchvw_claim(4));
    batchvw_release(4);
}

TEST_F(Batch, EnteringWhileAJobRunsAsksToWait) {
    Holder job(BATCH_USER, [] { return batchvw_claim(4); });
    batchvw_set_user(2);
    answer({'j', '\n', 'n', '\n'}); // wait once, then give up
    EXPECT_FALSE(batchvw_enter(4, true));
    EXPECT_NE(g_window.find("Verwerking is actief"), std::string::npos) << g_window;
    EXPECT_NE(g_window.find("Wilt u wachten? (J/N)"), std::string::npos) << g_window;
    EXPECT_TRUE(batchvw_enter(2, true));
    batchvw_leave(2);
    job.let_go();
    EXPECT_TRUE(batchvw_enter(4, true));
    batchvw_leave(4);
    EXPECT_THROW(batchvw_claim(16), nvtest::Fatal);
}

} // namespace
