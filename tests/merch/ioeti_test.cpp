// The label store: slots against words worked out by hand in both
// directions, a random model of chains and the free list checked against
// the file's own bytes, and the fatal paths with their texts.
#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/stamrec.h"
#include "store/dd.h"
#include "store/ix.h"
#include "support/headless.h"
#include "support/tmux.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <random>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string show(const etiket_rec &r) {
    char b[400];
    std::snprintf(b, sizeof b,
                  "%u.%u.%u st=%u bk=%u mt=%u fil=%u lev=%u ord=%u van=%u ont=%u vrk=%u btw=%d "
                  "ink=%u adv=%d vkp=%d p=%d ac=%u af=%u ic=%u klt=%u kv=%u vk=%u ow=%u owf=%u "
                  "on=%u ol=%u ola=%u",
                  r.art_nr, r.kleur, r.volgnr, r.status, r.blok_kenmerk, r.maat, r.filiaal,
                  r.lev_nr, r.ord_datum, r.lev_vanaf, r.ontvangen, r.verkocht_op, r.btw_tarief,
                  r.inkoopprijs, r.adviesprijs, r.verkoopprijs, r.p_vlag, r.actiecode, r.afprijs_nr,
                  r.inkoopcode, r.klant_nr, r.klant_volgend, r.verkoper, r.onderweg,
                  r.onderweg_filiaal, r.order_nr, r.order_loc, r.order_loc_aan);
    return b;
}

class Labels : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    char cwd[4096] = {};
    int raw = -1; // DTETI.TXT for looking at the bytes

    void SetUp() override {
        ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        std::vector<uint8_t> sys(sysmap::FILE_SIZE, 0);
        sys_bedrijf b{};
        b.btw_tarief[1] = 90, b.btw_tarief[2] = 210, b.btw_tarief[3] = 60;
        std::memcpy(&sys[0], &b, sizeof b);
        sys[14 * 64 + 6] = 7; // etiket_breedte
        sys[19 * 64] = 1;     // transit option
        sys[2640 + 38] = 1;   // user 1 at work
        FILE *f = std::fopen("DTSYS.TXT", "wb");
        std::fwrite(sys.data(), 1, sys.size(), f);
        std::fclose(f);
        raw = open("DTETI.TXT", O_RDWR | O_CREAT, 0660);
        ASSERT_TRUE(dd_create_pair(4, "DTART"));
        ICB *art = IXOPEN("DTART", 1);
        art_rec a{};
        a.art_nr = 8, a.btw_code = 3;
        IXWRITE(art, &a);
        IXCLOSE(art);
        nv::set_fatal_handler([](const char *t) { throw nvtest::Fatal(t); });
        long n = 1;
        iosys('O', &n, nullptr, sysmap::FIXED);
        int32_t l = 0;
        ioeti('O', &l, nullptr);
    }
    void TearDown() override {
        int32_t l = 0;
        ioeti('C', &l, nullptr);
        ioeti_set_user(0);
        long n = 1;
        iosys('C', &n, nullptr, sysmap::FIXED);
        close(raw);
        nv::set_fatal_handler(nullptr);
        EXPECT_EQ(chdir(cwd), 0);
    }
    eti_blok block(int32_t b) {
        eti_blok blk{};
        EXPECT_EQ(pread(raw, &blk, sizeof blk, (off_t)b * 376), 376);
        return blk;
    }
    void put(int32_t b, const eti_blok &blk) {
        ASSERT_EQ(pwrite(raw, &blk, sizeof blk, (off_t)b * 376), 376);
    }
    template <typename F> void change_fixed(long nr, F f) { // lock, read, change, write
        uint8_t rec[64] = {};
        iosys('X', &nr, rec, sysmap::FIXED);
        f(rec);
        iosys('W', &nr, rec, sysmap::FIXED);
    }
    eti_vrij_rec rec4() {
        eti_vrij_rec v{};
        long n = 4;
        iosys('R', &n, &v, sysmap::FIXED);
        return v;
    }
};

// Slot words and the label they stand for, read from a hand-made block and
// written back to the same words. Series 8.2.3; article 8 has VAT code 3.
struct Case {
    uint32_t w[9];
    etiket_rec r;
};
const Case k_cases[] = {
    // In stock, marked down, travelling to branch 6; VAT from the article (60).
    {{12345, 49950, 39952, 1017123456, 77, 117641332, 2949120321, 45010, 601234567},
     {8,    2,    3, 2, 5,  42, 3,      321, 45000, 0, 45010, 0,       60,  1234,
      4995, 3995, 1, 0, 12, 5,  123456, 77,  17,    1, 6,     1234567, 255, 0}},
    // Sold: the VAT of the sale (190) is kept; the largest seller and customer.
    {{10000, 29953, 24953, 999999999, 0, 0, 1, 2955718610, 1900000000},
     {8,    2,    3, 3, 5, 0, 0,      1, 0,   0, 45010, 45100, 190, 1000,
      2995, 2495, 0, 3, 0, 0, 999999, 0, 999, 0, 0,     0,     255, 0}},
    // Ordered for branch 4, delivery from 45200 to 45230.
    {{5009, 0, 1, 0, 0, 83952116, 0, 2962272430, 600000042},
     {8, 2, 3, 1, 5, 5, 1, 0, 0, 45200, 45230, 0,  60, 500,
      0, 0, 0, 0, 0, 9, 0, 0, 0, 0,     0,     42, 4,  1}},
    // Taken out of stock with correction code 7.
    {{0, 1007, 4, 0, 0, 0, 0, 2968780800, 2100000000},
     {8,   2, 3, 4, 5, 0, 0, 0, 0, 0, 0, 45300, 210, 0,
      100, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0,     255, 0}},
};

TEST_F(Labels, SlotsReadAndWriteTheWordsWorkedOutByHand) {
    eti_blok blk{};
    blk.kop = {8, 2, 3, 5, {}, -1};
    for (size_t i = 0; i < std::size(k_cases); ++i)
        std::memcpy(blk.woord[i], k_cases[i].w, 36);
    put(0, blk);
    put(1, eti_blok{{8, 2, 3, 0, {}, -1}, {}}); // written over below
    for (size_t i = 0; i < std::size(k_cases); ++i) {
        etiket_rec r{};
        int32_t n = (int32_t)i + 1;
        ASSERT_EQ(ioeti('R', &n, &r), 1);
        EXPECT_EQ(show(r), show(k_cases[i].r)) << "label " << n;
        n = 11 + (int32_t)i;
        ASSERT_EQ(ioeti('W', &n, &r), 1);
    }
    eti_blok back = block(1);
    EXPECT_EQ(back.kop.blok_kenmerk, 5); // the label's mark goes to the header
    for (size_t i = 0; i < std::size(k_cases); ++i)
        EXPECT_EQ(std::memcmp(back.woord[i], k_cases[i].w, 36), 0) << "slot " << i;

    // A stored rate of an unsold label is not used, on reading nor writing;
    // without the transit option the transit mark is dropped, and with
    // ZOK_INTERN it is fatal.
    blk.woord[0][8] = 1991234567;
    put(0, blk);
    etiket_rec r{};
    int32_t n = 1;
    ioeti('R', &n, &r);
    EXPECT_EQ(r.btw_tarief, 60);
    r.btw_tarief = 999;
    change_fixed(20, [](uint8_t *rec) { rec[0] = 0; });
    ioeti_reopen();
    n = 15;
    ioeti('W', &n, &r);
    EXPECT_EQ(r.btw_tarief, 60);
    EXPECT_EQ(block(1).woord[4][5], 4212u + (3u << 16));
    ASSERT_EQ(ioeti('R', &n, &r), 1);
    EXPECT_EQ(r.onderweg, 0);
    setenv("ZOK_INTERN", "1", 1);
    r.onderweg = 1;
    EXPECT_THROW(ioeti('W', &n, &r), nvtest::Fatal);
    unsetenv("ZOK_INTERN");
}

TEST_F(Labels, FatalPathsSayWhereTheChainBroke) {
    ioeti_set_user(1);
    put(0, eti_blok{{8, 2, 3, 0, {}, 1}, {}});       // -> block 1 of another series
    put(1, eti_blok{{9, 9, 9, 0, {}, 1000000}, {}}); // -> above the highest block
    put(2, eti_blok{{8, 2, 3, 0, {}, 2}, {}});       // -> itself
    etiket_rec r{};
    int32_t n;
    for (int32_t label : {0, -3, 31, 10000000}) {
        n = label;
        EXPECT_EQ(ioeti('R', &n, &r), 0) << label;
    }
    const std::pair<int, std::string> rows[] = {
        {'W', "a=W,f=%,r=4 -> Buiten bestand"}, // label 41
        {'F', "a=F,f=%,r=1000000 -> Ongeldige etiketketting"},
        {'B', "a=F,f=%,r=1 -> Etiket niet van 8.2.3"},
        {'L', "a=F,f=%,r=2 -> Ongeldige etiketketting"}, // a chain that loops
        {'X', "IOETI: errno=1"},
        {'O', "IOETI: errno=3"},
        {'S', "IOETI: errno=4"},
        {'C', "IOETI: errno=2"}};
    for (const auto &[action, text] : rows) {
        ioeti_bind_series(action == 'B', 8, 2, 3);
        std::string got = "no fatal";
        try {
            n = action == 'W' ? 41 : action == 'F' ? 1 : action == 'L' ? 2 : 0;
            if (action == 'S') ioeti_status_scan('W', &n, &r, 2);
            if (action == 'C') ioeti('C', &n, &r), ioeti('R', &n, &r);
            if (std::strchr("WXO", action)) ioeti(action, &n, &r);
            for (int f = std::strchr("FBL", action) && ioeti('F', &n, &r); f;
                 f = ioeti('N', &n, &r)) {
            }
        } catch (const nvtest::Fatal &e) {
            got = e.what();
        }
        size_t fd = text.find('%'); // the descriptor is the store's own
        if (fd == std::string::npos) {
            EXPECT_EQ(got, text);
        } else {
            EXPECT_EQ(got.substr(0, fd + 10), "ioeti(0): " + text.substr(0, fd)) << got;
            EXPECT_EQ(got.substr(got.find(",r=")), text.substr(fd + 1)) << got;
        }
    }
    uint8_t status = 0;
    int sys = open("DTSYS.TXT", O_RDONLY);
    EXPECT_EQ(pread(sys, &status, 1, 2640 + 38), 1);
    close(sys);
    EXPECT_EQ(status, 1); // 11 after the chain errors; the close set it back to 1
}

TEST_F(Labels, ChainsAndTheFreeListFollowARandomModel) {
    const char *given = std::getenv("NV_SEED");
    unsigned seed = given ? (unsigned)std::strtoul(given, nullptr, 10) : std::random_device{}();
    std::printf("seed %u (NV_SEED=%u repeats it)\n", seed, seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rnd(seed);
    constexpr int k_series = 4;
    int32_t head[k_series] = {-1, -1, -1, -1};
    std::map<int32_t, std::pair<int, int>> model; // label -> series, size
    auto keyed = [](int s) {
        etiket_rec r{};
        r.art_nr = 8, r.kleur = (uint16_t)(s + 1), r.volgnr = 1;
        return r;
    };

    auto verify = [&] {
        eti_vrij_rec v = rec4();
        struct stat st;
        fstat(raw, &st);
        ASSERT_EQ(st.st_size, (off_t)v.eti_nieuw * 376);
        std::set<int32_t> seen; // every block is in one chain or free
        for (int s = 0; s < k_series; ++s) {
            std::map<int32_t, int> want, got;
            for (auto &[label, sm] : model)
                if (sm.first == s) want[label] = sm.second;
            for (int32_t b = head[s]; b >= 0; b = block(b).kop.volgend_blok) {
                ASSERT_TRUE(seen.insert(b).second) << "block " << b << " twice";
                ASSERT_EQ(block(b).kop.kleur, s + 1);
            }
            ioeti_bind_series(true, 8, (uint16_t)(s + 1), 1);
            etiket_rec r{};
            int32_t n = head[s];
            for (int f = head[s] >= 0 && ioeti('F', &n, &r); f; f = ioeti('N', &n, &r))
                got[n] = r.maat;
            ioeti_bind_series(false, 0, 0, 0);
            ASSERT_EQ(got, want) << "series " << s;
        }
        int32_t count = 0;
        for (int32_t b = v.eti_vrij_kop; b != v.eti_nieuw; b = block(b).kop.volgend_blok, ++count)
            ASSERT_TRUE(b >= 0 && b < v.eti_nieuw && seen.insert(b).second) << "free block " << b;
        EXPECT_EQ(count, v.eti_vrij_aantal);
        EXPECT_EQ((int32_t)seen.size(), v.eti_nieuw);
    };

    for (int step = 0; step < 1500 && !HasFatalFailure(); ++step) {
        unsigned op = rnd() % 100;
        etiket_rec r{};
        int32_t n;
        if (op < 62 || model.empty()) { // a new label: from the chain's head, as callers do
            int s = (int)(rnd() % k_series);
            if (head[s] >= 0) ioeti('F', &(n = head[s]), &r);
            r = keyed(s);
            r.status = ETI_VOORRAAD;
            r.maat = (uint8_t)(rnd() % 100);
            n = 0;
            ASSERT_EQ(ioeti('W', &n, &r), 1);
            if (head[s] < 0) head[s] = (n - 1) / 10;
            ASSERT_EQ(model.count(n), 0u) << "label " << n << " given twice";
            model[n] = {s, r.maat};
        } else if (op < 97) {
            auto it = std::next(model.begin(), (long)(rnd() % model.size()));
            n = it->first;
            ASSERT_EQ(ioeti('R', &n, &r), 1);
            int32_t other = n + 1;
            if (op < 66) {
                EXPECT_EQ(ioeti('D', &other, &r), 1); // not the current label
            }
            ASSERT_EQ(ioeti('D', &n, &r), 0);
            model.erase(it);
        } else if (op < 99) {
            int s = (int)(rnd() % k_series);
            ser_rec ser{};
            ser.art_nr = 8, ser.kleur = (uint16_t)(s + 1), ser.volgnr = 1,
            ser.ser_eti_kop = head[s];
            ASSERT_TRUE(ioeti_free_chain(&ser));
            EXPECT_EQ(ser.ser_eti_kop, -1);
            head[s] = -1;
            std::erase_if(model, [s](const auto &e) { return e.second.first == s; });
        } else {
            ioeti_reopen();
        }
        verify();
    }
}

TEST_F(Labels, StatusScanNewLabelsAndTheSequence) {
    eti_blok b0{{8, 2, 3, 0, {}, 1}, {}}, b1{{8, 2, 3, 0, {}, -1}, {}};
    b0.woord[0][2] = 2, b0.woord[1][2] = 3, b0.woord[3][2] = 4, b1.woord[5][2] = 3;
    put(0, b0);
    put(1, b1);
    etiket_rec r{};
    int32_t n = 0;
    std::vector<int32_t> sold;
    for (int f = ioeti_status_scan('F', &n, &r, 3); f; f = ioeti_status_scan('N', &n, &r, 3))
        sold.push_back(n);
    EXPECT_EQ(sold, (std::vector<int32_t>{2, 16}));
    n = 3; // a free slot: the scan goes on from there
    EXPECT_EQ(ioeti_status_scan('R', &n, &r, 4), 1);
    EXPECT_EQ(n, 4);

    // New labels fill the chain's free slots up to the last one, then a new
    // block is linked behind the tail.
    change_fixed(4, [](uint8_t *rec) { rec[0] = rec[4] = 2; });
    std::vector<int32_t> given;
    ioeti('F', &(n = 0), &r);
    for (int i = 0; i < 18; ++i) {
        r.status = ETI_VOORRAAD;
        ASSERT_EQ(ioeti('W', &(n = 0), &r), 1);
        given.push_back(n);
    }
    EXPECT_EQ(given, (std::vector<int32_t>{3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 17, 18, 19, 20,
                                           21, 22}));
    EXPECT_EQ(block(1).kop.volgend_blok, 2);
    EXPECT_EQ(rec4().eti_nieuw, 3);

    EXPECT_EQ(next_label_seq(), 1000);
    EXPECT_EQ(next_label_seq(), 1001);
    change_fixed(5, [](uint8_t *rec) { *(uint32_t *)rec = 9999999; });
    EXPECT_EQ(next_label_seq(), 1000);
}

} // namespace
