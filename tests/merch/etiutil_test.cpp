// The demo shop's label store walked series by series against the series
// counters, and etiutil on it: what it shows, a broken chain, bad input.
#include "demomerch.h"
#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/stamrec.h"
#include "store/ix.h"
#include "support/tmux.h"
#include "winkel.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string k_tool = NV_BIN_DIR "/etiutil";

TEST(DemoLabels, ChainsMatchTheSeriesAndEtiutilReadsThem) {
    Winkel w;
    w.open();
    const nvt::TempDir &shop = w.shop;
    int32_t n = 0;
    ser_rec s{};
    std::set<int> statuses;
    std::string first_chain, block0; // series 1001.1.1, head block 0
    int labels = 0;
    for (int f = IXFIRST(dtser, &s); f; f = IXNEXTR(dtser, &s)) {
        int count[5] = {};
        ioeti_bind_series(true, s.art_nr, s.kleur, s.volgnr);
        etiket_rec r{};
        n = s.ser_eti_kop;
        for (int g = ioeti('F', &n, &r); g; g = ioeti('N', &n, &r)) {
            ++count[r.status], ++labels;
            statuses.insert(r.status);
            if (s.kleur == 1 && s.art_nr == 1001) first_chain += std::to_string(n) + "\n";
            if (s.kleur == 1 && s.art_nr == 1001 && n <= 10) block0 += std::to_string(n) + "\n";
        }
        EXPECT_EQ(count[1], s.ser_nota);
        EXPECT_EQ(count[2], s.ser_voorraad);
        EXPECT_EQ(count[3], s.ser_verkocht);
        EXPECT_EQ(count[4], s.ser_correcties);
    }
    ioeti_bind_series(false, 0, 0, 0);
    EXPECT_EQ(statuses, (std::set<int>{1, 2, 3, 4}));
    int used = 0; // every label of the file lies on a chain
    for (int32_t label = 1; label < 1000; ++label) {
        etiket_rec r{};
        used += ioeti('R', &(n = label), &r);
    }
    EXPECT_EQ(used, labels);
    w.close();

    auto tool = [&](const std::string &args, int *status) {
        return nvt::run("cd " + shop.path() + " && " + k_tool + " " + args + " 2>&1", status);
    };
    int status;
    struct stat st;
    ASSERT_EQ(stat(shop.file("DTETI.TXT").c_str(), &st), 0);
    EXPECT_EQ(tool("free", &status),
              "eti_vrij_kop: 27\neti_nieuw: " + std::to_string(st.st_size / 376) +
                  "\neti_vrij_aantal: " + std::to_string(demo::k_demo_free_blocks) + "\n");
    std::string shown = tool("show 1", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 28);
    EXPECT_NE(shown.find("\nstatus: 3\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("\nbtw_tarief: 210\n"), std::string::npos) << shown;
    EXPECT_EQ(tool("show 99999", &status), "not found\n");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(tool("chain 0", &status), first_chain);

    // Block 0 pointing beyond the file: its labels, then the store's trace line.
    int fd = open(shop.file("DTETI.TXT").c_str(), O_WRONLY);
    int32_t away = 5000;
    ASSERT_EQ(pwrite(fd, &away, 4, 12), 4);
    close(fd);
    std::string broken = tool("chain 0", &status);
    EXPECT_NE(status, 0);
    EXPECT_NE(broken.find(block0), std::string::npos) << broken;
    EXPECT_NE(broken.find(",r=5000 -> Buiten bestand"), std::string::npos) << broken;

    for (const char *bad : {"", "show", "show x", "chain -1", "free 3", "list"}) {
        tool(bad, &status);
        EXPECT_EQ(status, 2) << bad;
    }
    nvt::TempDir empty;
    nvt::run("cd " + empty.path() + " && " + k_tool + " free 2>/dev/null", &status);
    EXPECT_EQ(status, 1);
}

} // namespace
