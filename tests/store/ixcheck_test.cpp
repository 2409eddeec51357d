// Check and rebuild on files damaged in the test, the conversion of the old
// format, the near-limit question, and a shared-mode writer killed at random
// moments. After each rebuild every live record must be found under every
// key, the free list must run down from the highest free slot, and reserved
// keys must be gone.
#include "store/ix.h"
#include "store/ixcheck.h"
#include "store/ixhook.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace nv::store;

namespace {

constexpr int k_len = 20; // nr u32 at 0, text at 4..15, group u16 at 16

std::vector<uint8_t> record(uint32_t nr, uint32_t version) {
    std::vector<uint8_t> r(k_len, 0);
    std::memcpy(r.data(), &nr, 4);
    std::snprintf((char *)r.data() + 4, 12, "t%05u.%u", (nr * 7919u) % 99991u, version % 100);
    r[16] = (uint8_t)(nr % 7);
    return r;
}

int64_t size_of(const std::string &p) {
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 ? st.st_size : -1;
}

template <class T> void patch_value(const std::string &path, off_t off, T v) {
    int fd = ::open(path.c_str(), O_RDWR);
    EXPECT_EQ(::pwrite(fd, &v, sizeof v, off), (ssize_t)sizeof v);
    ::close(fd);
}
template <class T> T read_value(const std::string &path, off_t off) {
    T v{};
    int fd = ::open(path.c_str(), O_RDONLY);
    EXPECT_EQ(::pread(fd, &v, sizeof v, off), (ssize_t)sizeof v);
    ::close(fd);
    return v;
}

class Check : public ::testing::Test {
  protected:
    std::string dir, name, inx, txt;
    void SetUp() override {
        char tmpl[] = "/tmp/nvcheckXXXXXX";
        dir = mkdtemp(tmpl);
        name = dir + "/DTCHK";
        inx = name + ".INX", txt = name + ".TXT";
    }
    void TearDown() override {
        set_flash_hook(nullptr);
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) std::perror("rm");
    }
    void create() {
        ICB *icb = IXCREATE(name.c_str(), 1);
        IXUPDFCB(icb, 0, "controle,20");
        IXUPDFCB(icb, 1, "nr,I,1,4");
        IXUPDFCB(icb, 2, "tekst,C,5,16");
        IXUPDFCB(icb, 3, "groep,I,17,18,I,1,4");
        IXINIT(icb);
        IXCLOSE(icb);
    }
    // Every record of the model found by key 1, and each key walks to the
    // same number of records in order.
    void expect_whole(const std::map<uint32_t, std::vector<uint8_t>> &model, uint32_t skip = ~0u) {
        ICB *icb = IXOPEN(name.c_str(), 0);
        std::vector<uint8_t> r(k_len);
        for (auto &[nr, want] : model) {
            if (nr == skip) continue;
            r = want;
            ASSERT_EQ(IXREAD(icb, r.data()), 1) << "record " << nr;
            ASSERT_EQ(r, want) << "record " << nr;
        }
        long counts[3] = {};
        for (int k = 1; k <= 3; ++k) {
            IXSWITCH(icb, k);
            std::fill(r.begin(), r.end(), 0);
            for (int ok = IXFIRST(icb, r.data()); ok; ok = IXNEXTR(icb, r.data()))
                ASSERT_LT(++counts[k - 1], 100000);
        }
        EXPECT_EQ(counts[1], counts[0]);
        EXPECT_EQ(counts[2], counts[0]);
        if (skip == ~0u) {
            EXPECT_EQ(counts[0], (long)model.size());
        }
        IXCLOSE(icb);
    }
    // The free list as a rebuild leaves it: from the highest free slot down.
    void expect_free_list_descending(int want) {
        int32_t link = read_value<int32_t>(inx, 12), prev = INT32_MAX;
        int n = 0;
        while (link >= 0 && n <= want) {
            EXPECT_LT(link, prev);
            prev = link;
            link = read_value<int32_t>(txt, (off_t)link * k_len + 1);
            ++n;
        }
        EXPECT_EQ(n, want);
    }
};

// One file, damaged in each way in turn from a saved copy. The free list of
// the sound file has 40 slots, and key 300 is reserved in the lock queue by
// a process that went away.
TEST_F(Check, DamagedFilesAreFoundAndRebuiltWhole) {
    create();
    std::map<uint32_t, std::vector<uint8_t>> model;
    ICB *icb = IXOPEN(name.c_str(), 2);
    for (uint32_t nr = 0; nr < 240; ++nr) {
        auto r = record(nr * 37 % 240, nr);
        IXWRITE(icb, r.data());
        model[nr * 37 % 240] = r;
    }
    for (uint32_t nr = 0; nr < 240; nr += 6) {
        auto r = model.at(nr);
        ASSERT_EQ(IXREAD(icb, r.data()), 1);
        IXDELETE(icb, r.data());
        model.erase(nr);
    }
    auto absent = record(300, 0);
    ASSERT_EQ(IXREADL(icb, absent.data()), 0); // reserves the key, never released
    IXCLOSE(icb);
    ASSERT_EQ(IXCHECK(name.c_str()), 40);
    ASSERT_EQ(read_value<int8_t>(inx, 4 * 512 + 4), 1) << "one reserved key";
    std::string good = dir + "/good";
    ASSERT_EQ(std::system(("mkdir " + good + " && cp " + inx + " " + txt + " " + good).c_str()), 0);

    const int32_t head = read_value<int32_t>(inx, 12);
    const int32_t live_slot = 1; // slot 1 holds record 37
    struct Case {
        const char *what;
        std::function<void()> damage;
        int rebuild; // IXBLDIX's result; -1: not tried
        int free_after;
    };
    const std::vector<Case> cases = {
        {"index not whole blocks", [&] { ::truncate(inx.c_str(), size_of(inx) + 100); }, 1, 40},
        {"extra index block", [&] { ::truncate(inx.c_str(), size_of(inx) + 512); }, 1, 40},
        {"index empty", [&] { ::truncate(inx.c_str(), 0); }, 0, -1},
        {"data file missing", [&] { ::unlink(txt.c_str()); }, -1, 0},
        {"header one record short",
         [&] { patch_value<int32_t>(inx, 16, read_value<int32_t>(inx, 16) - 1); }, 1, 40},
        {"busy mark", [&] { patch_value<uint8_t>(inx, 45, 1); }, 1, 40},
        {"free list into a live record", [&] { patch_value<int32_t>(inx, 12, live_slot); }, 1, 40},
        {"free list loops", [&] { patch_value<int32_t>(txt, (off_t)head * k_len + 1, head); }, 1,
         40},
        {"key count impossible", [&] { patch_value<int8_t>(inx, 11, 0); }, 0, -1},
        {"key length wrong", [&] { patch_value<uint8_t>(inx, 48 + 42 + 9, 9); }, 0, -1},
        {"data not whole records", [&] { ::truncate(txt.c_str(), size_of(txt) + 3); }, 0, -1},
        {"data file emptied", [&] { ::truncate(txt.c_str(), 0); }, 1, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(std::system(("cp " + good + "/* " + dir).c_str()), 0);
        c.damage();
        ASSERT_EQ(IXCHECK(name.c_str()), -1);
        if (c.rebuild < 0) continue;
        int64_t isize = size_of(inx), dsize = size_of(txt);
        ASSERT_EQ(IXBLDIX(name.c_str()), c.rebuild);
        if (c.rebuild == 0) { // refused: nothing touched
            EXPECT_EQ(size_of(inx), isize);
            EXPECT_EQ(size_of(txt), dsize);
            continue;
        }
        ASSERT_EQ(IXCHECK(name.c_str()), c.free_after);
        EXPECT_EQ(read_value<int8_t>(inx, 4 * 512 + 4), 0) << "reserved keys are gone";
        if (c.free_after == 0) {
            EXPECT_EQ(size_of(inx), 5 * 512) << "header, three roots and the queue";
            continue;
        }
        expect_free_list_descending(40);
        expect_whole(model);
    }
    // A damaged tree block is not the check's business, but the rebuild
    // makes the index whole from the data.
    ASSERT_EQ(std::system(("cp " + good + "/* " + dir).c_str()), 0);
    patch_value(inx, 5 * 512, std::array<uint8_t, 512>{0x5A, 0x5A, 0x5A, 3, 0x5A});
    EXPECT_EQ(IXCHECK(name.c_str()), 40);
    ASSERT_EQ(IXBLDIX(name.c_str()), 1);
    expect_whole(model);
}

// The previous format is refused by the check (the end of the program,
// naming the conversion tool; a temporary file only gets -1), and ixremake
// takes it to the current one: entry limits computed anew, every record
// found.
TEST_F(Check, OldVersionIsRefusedAndConvertedByIxremake) {
    create();
    std::map<uint32_t, std::vector<uint8_t>> model;
    ICB *icb = IXOPEN(name.c_str(), 1);
    for (uint32_t nr = 0; nr < 500; ++nr) {
        model[nr] = record(nr, 1);
        IXWRITE(icb, model[nr].data());
    }
    IXCLOSE(icb);
    patch_value<int16_t>(inx, 258, 350);
    patch_value<uint8_t>(inx, 48 + 10, 40); // an entry limit of the old format
    EXPECT_EXIT(IXCHECK(name.c_str()), ::testing::ExitedWithCode(1), "IXREMAKE.EXE");
    ASSERT_EQ(std::system(("cp " + inx + " " + dir + "/DTCHK.I01").c_str()), 0);
    EXPECT_EQ(IXCHECK((dir + "/DTCHK.I01").c_str()), -1);

    std::string tool = std::string(NV_BIN_DIR) + "/ixremake";
    if (::access(tool.c_str(), X_OK) != 0) GTEST_SKIP() << "ixremake not built";
    ASSERT_EQ(std::system((tool + " " + name + " >/dev/null 2>&1").c_str()), 0);
    EXPECT_EQ(read_value<int16_t>(inx, 258), 351);
    EXPECT_EQ(read_value<uint8_t>(inx, 48 + 10), 505 / 8);
    EXPECT_EQ(IXCHECK(name.c_str()), 0);
    expect_whole(model);
    EXPECT_NE(std::system((tool + " " + dir + "/NIETER 2>/dev/null").c_str()), 0);
    std::string check = std::string(NV_BIN_DIR) + "/ixutil check " + name + " >/dev/null";
    EXPECT_EQ(std::system(check.c_str()), 0);
    patch_value<uint8_t>(inx, 45, 1);
    EXPECT_EQ(WEXITSTATUS(std::system(check.c_str())), 1) << "the busy mark: rebuild";
}

// An index whose next free block is near the limit asks whether to go on:
// yes keeps the result, no ends the program. (The index is a sparse file of
// that many blocks.)
TEST_F(Check, NearTheBlockLimitAsksWhetherToGoOn) {
    create();
    const int32_t blocks = 2147483000;
    patch_value<int32_t>(inx, 20, blocks);
    if (::truncate(inx.c_str(), (off_t)blocks * 512) != 0) GTEST_SKIP() << "no sparse files here";
    static std::string asked;
    set_flash_hook([](int option, const char *, const char *text) {
        asked = text;
        return option == -2 ? 1 : 0;
    });
    EXPECT_EQ(IXCHECK(name.c_str()), 0);
    EXPECT_NE(asked.find("bijna aan zijn limiet"), std::string::npos);
    set_flash_hook([](int, const char *, const char *) { return 0; });
    EXPECT_EXIT(IXCHECK(name.c_str()), ::testing::ExitedWithCode(1),
                "DTCHK is bijna aan zijn limiet");
    ::unlink(inx.c_str());
}

// A writer in shared mode killed at a random moment: the check accepts the
// file or the rebuild makes it whole, and every change the writer finished
// is there; the one under way may or may not be. The writer logs each
// change before and after it, one write() each, to a file.
TEST_F(Check, KilledSharedWriterLeavesAFileThatChecksOrRebuilds) {
    struct Entry {
        int32_t phase, op, nr, version; // phase 0 begins, 1 ends; op 0 write, 1 delete
    };
    const char *s = std::getenv("NV_SEED");
    unsigned seed = s ? (unsigned)std::strtoul(s, nullptr, 10) : (unsigned)std::random_device{}();
    std::printf("seed %u (NV_SEED=%u repeats it)\n", seed, seed);
    std::mt19937 rng(seed);
    int rebuilt = 0;
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " round " + std::to_string(round));
        create();
        std::string log = dir + "/log";
        ::unlink(log.c_str());
        unsigned child_seed = (unsigned)rng();
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            int fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            std::mt19937 r(child_seed);
            ICB *icb = IXOPEN(name.c_str(), 2);
            for (int32_t v = 1;; ++v) {
                Entry e{0, (int32_t)(r() % 4 == 0), (int32_t)(r() % 400), v};
                if (::write(fd, &e, sizeof e) != sizeof e) _exit(3);
                auto rec = record((uint32_t)e.nr, (uint32_t)v);
                if (e.op == 0)
                    IXWRITE(icb, rec.data());
                else if (IXREAD(icb, rec.data()))
                    IXDELETE(icb, rec.data());
                e.phase = 1;
                if (::write(fd, &e, sizeof e) != sizeof e) _exit(3);
                auto other = record(r() % 400, 0); // a reader's moment, outside any change
                IXREAD(icb, other.data());
            }
        }
        ::usleep(20000 + rng() % 150000);
        ::kill(pid, SIGKILL);
        int st;
        ASSERT_EQ(::waitpid(pid, &st, 0), pid);

        // What the model says: every finished change.
        std::map<uint32_t, std::vector<uint8_t>> model;
        int fd = ::open(log.c_str(), O_RDONLY);
        Entry e, open{-1, 0, -1, 0};
        while (::read(fd, &e, sizeof e) == sizeof e) {
            if (e.phase == 0) {
                open = e;
                continue;
            }
            open.nr = -1;
            if (e.op == 0)
                model[(uint32_t)e.nr] = record((uint32_t)e.nr, (uint32_t)e.version);
            else
                model.erase((uint32_t)e.nr);
        }
        ::close(fd);
        if (IXCHECK(name.c_str()) < 0) {
            ++rebuilt;
            ASSERT_EQ(IXBLDIX(name.c_str()), 1);
            ASSERT_GE(IXCHECK(name.c_str()), 0);
        }
        expect_whole(model, (uint32_t)open.nr);
        if (HasFatalFailure()) return;
    }
    std::printf("%d of 8 killed writers left a file to rebuild\n", rebuilt);
}

} // namespace
