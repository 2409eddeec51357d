// The exchange files: KMUT lines of every kind against hand-laid columns and
// read back into KSKV and KSZI, the removal of a paid sale on account, an
// invoice in FACT, the classes of KASMUT.TXT, and DCMU for the online tills.
#include "base/datum.h"
#include "base/fatal.h"
#include "demoomz.h"
#include "demoshop.h"
#include "exchange/iokasmut.h"
#include "exchange/kas_dcmu.h"
#include "exchange/kas_fact.h"
#include "exchange/kas_omz.h"
#include "exchange/konl_mut.h"
#include "exchange/xchinst.h"
#include "frame/iosys.h"
#include "sale/jrnnaam.h"
#include "store/ix.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::string slurp(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

// A demo shop as current directory, its system and branch files open.
class Exchange : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    char cwd[4096] = {};
    void SetUp() override {
        demo::Options opt;
        ASSERT_EQ(demo::build(dir.path(), opt), "");
        ASSERT_TRUE(getcwd(cwd, sizeof cwd));
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        long n = 1;
        char buf[64];
        iosys('O', &n, buf, sysmap::FIXED);
        iofil('O', 0, nullptr);
        sys_bedrijf b{};
        sys_land l{};
        n = sysmap::REC_COMPANY;
        iosys('R', &n, &b, sysmap::FIXED);
        n = sysmap::REC_COUNTRY;
        iosys('R', &n, &l, sysmap::FIXED);
        xch_instellen(b, l);
        nv::set_fatal_handler([](const char *t) { throw std::runtime_error(t); });
    }
    void TearDown() override {
        long n = 1;
        iofil('C', 0, nullptr);
        iosys('C', &n, nullptr, sysmap::FIXED);
        omz_set_waren(nullptr);
        EXPECT_EQ(chdir(cwd), 0);
    }
};

std::string kmut(const kskv_rec &r, bool kort) {
    char buf[256] = {};
    FILE *f = fmemopen(buf, sizeof buf, "w");
    kmut_schrijf(r, kort, f);
    std::fclose(f);
    return buf;
}

std::string kmut_i(const kszi_rec &r, bool kort) {
    char buf[256] = {};
    FILE *f = fmemopen(buf, sizeof buf, "w");
    kmut_schrijf_i(r, kort, f, 0, 0);
    std::fclose(f);
    return buf;
}

kskv_rec kv(uint8_t fil, uint8_t kas, uint8_t rek, uint32_t klt, uint16_t dag, uint16_t bon,
            int32_t b1 = 0, int32_t b2 = 0, uint16_t seq = 0) {
    return kskv_rec{fil, kas, rek, 0, klt, dag, bon, b1, b2, seq, 0, 0};
}

TEST_F(Exchange, KmutLinesHaveTheirColumnsAndReadBack) {
    kszi_rec zi{1, 2, 4, 1002, 45001, 9, {}, 1, {}, 4995};
    std::memcpy(zi.ean, "8712345678906", 13);
    kszi_rec kort_ean{1, 2, 5, 1002, 45001, 9, "123", 3, {}, -20};
    struct {
        std::string got, want;
    } lines[] = {
        {kmut(kv(2, 1, 1, 1001, 45000, 17, 12345, -50, 3), false),
         "REUR 2 1    100145000  17   12345     -50  3\n"},
        {kmut(kv(0, 0, 0, 0, 44999, 3), true), "TEUR 0 0       044999   3\n"},
        {kmut(kv(2, 1, 1, 1001, 45000, 17, 123456789), false),
         "REUR 2 1    100145000  17123456789       0  0\n"},
        {kmut(kv(100, 0, 1, 1001, 45000, 17, 5), false), ""},
        {kmut_i(zi, false), "IEUR 1 2    100245001   9  48712345678906    49951\n"},
        {kmut_i(zi, true), "IEUR 1 2    100245001   9  4\n"},
        {kmut_i(kort_ean, false), "IEUR 1 2    100245001   9  5123               -203\n"},
    };
    for (auto &l : lines)
        EXPECT_EQ(l.got, l.want);

    ICB *kskv = IXOPEN("KSKV", 2), *kszi = IXOPEN("KSZI", 2);
    kskv_rec r = kv(2, 1, 1, 1001, 45000, 17);
    EXPECT_TRUE(kmut_lees_kv(kskv, lines[0].want.c_str()));
    ASSERT_EQ(IXREAD(kskv, &r), 1);
    EXPECT_EQ(r.bedrag, 12345);
    EXPECT_EQ(r.bedrag2, -50);
    EXPECT_EQ(r.seq, 3);
    EXPECT_TRUE(kmut_lees_kv(kskv, kmut(r, true).c_str()));
    EXPECT_EQ(IXREAD(kskv, &r), 0) << "the short form deletes";
    EXPECT_FALSE(kmut_lees_kv(kskv, "REUR 2 1    1001"));
    EXPECT_FALSE(kmut_lees_kv(kskv, lines[4].want.c_str()));
    for (const kszi_rec &want : {zi, kort_ean}) {
        EXPECT_TRUE(kmut_lees_i(kszi, kmut_i(want, false).c_str()));
        kszi_rec got = want;
        std::memset(got.ean, 0, sizeof got.ean);
        got.bedrag = 0;
        ASSERT_EQ(IXREAD(kszi, &got), 1);
        EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << want.regel;
    }
    EXPECT_TRUE(kmut_lees_i(kszi, lines[5].want.c_str()));
    kszi_rec weg = zi;
    EXPECT_EQ(IXREAD(kszi, &weg), 0);
    IXCLOSE(kszi);
    IXCLOSE(kskv);
}

TEST_F(Exchange, APaidSaleOnAccountLeavesKskvAndTellsTheBranch) {
    ICB *kskv = IXOPEN("KSKV", 2);
    kskv_rec a = kv(0, 1, 1, 1001, 45000, 17, 5000), b = kv(0, 1, 1, 1003, 45002, 18, 700);
    IXWRITE(kskv, &a);
    IXWRITE(kskv, &b);
    auto d = [](uint16_t dag, uint16_t bon) {
        jrn_d x{};
        x.op_filnr = 0, x.op_kasnr = 1, x.op_datum = dag, x.op_bonnr = bon;
        return x;
    };
    kskv_afboeken(2, 1001, d(45000, 17)); // by its key
    kskv_afboeken(2, 0, d(45002, 18));    // no customer on the receipt: by date and receipt
    kskv_afboeken(2, 1001, d(45009, 99)); // gone already: the line all the same
    EXPECT_EQ(IXREAD(kskv, &a), 0);
    EXPECT_EQ(IXREAD(kskv, &b), 0);
    IXCLOSE(kskv);
    EXPECT_EQ(slurp("KMUT0200.TXT"), "REUR 0 1    100145000  17\n"
                                     "REUR 0 1    100345002  18\n"
                                     "REUR 0 1    100145009  99\n");
}

const omz_waren group_names = {
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    [](uint16_t g, char *out, int size) {
        std::snprintf(out, (size_t)size, "%s", g == 10 ? "Dames" : "Heren en jongens");
        return true;
    },
};

TEST_F(Exchange, AnInvoicedReceiptWritesItsInvoice) {
    xch.vlag3 |= 2;
    omz_set_waren(&group_names);
    // Branch 1's administration 7 and ledger 8000.
    int fd = open("DTFILGEG.TXT", O_RDWR);
    uint16_t admin = 7;
    int32_t ledger = 8000;
    ASSERT_EQ(pwrite(fd, &admin, 2, 2 * 612 + FIL_FACT_ADMIN), 2);
    ASSERT_EQ(pwrite(fd, &ledger, 4, 2 * 612 + FIL_FACT_REKENING), 4);
    close(fd);
    auto receipt = [](int32_t op_rekening) {
        jrn_cursor *c = iojrn_open("VRK0100.BON", O_RDWR | O_CREAT | O_TRUNC);
        c->h = jrn_h{};
        c->h.kltnr = 1001, c->h.datum = datum_nr(15, 3, 2023), c->h.filnr = 1;
        iojrn_append(c, 'H');
        c->regel = jrn_regel{};
        std::strcpy(c->regel.opmerking, "kado");
        c->regel.aantal = 1, c->regel.bedrag = 4500, c->regel.bedrag_excl = 3719;
        c->regel.omzetgroep = 10, c->regel.btw = 2;
        iojrn_append(c, 'V');
        c->regel = jrn_regel{};
        c->regel.aantal = 2, c->regel.bedrag = 590, c->regel.bedrag_excl = 488;
        c->regel.omzetgroep = 20, c->regel.btw = 1;
        iojrn_append(c, 'R');
        c->regel.lflags = LF_GEANNULEERD;
        iojrn_append(c, 'V');
        c->t = jrn_t{};
        c->t.totaal = c->t.contant = c->t.gefactureerd = 3910;
        c->t.op_rekening = op_rekening;
        iojrn_append(c, 'T');
        iojrn_append(c, 'X');
        iojrn_close(c);
        omz_bon_uit_bon(1);
    };
    const std::string invoice = "D~7~~~2303\n"
                                "H~1001~~~~150323~~~~J~J~I\n"
                                "R~kado\n"
                                "R~Dames~1~4500~781~8000~210\n"
                                "R~Heren en jongen~-2~-590~-102~8000~90\n";
    receipt(3000);
    EXPECT_EQ(slurp("FACT0100.KAS"), invoice + "R~AF: Reeds voldaan ~1~-910~0~8000~0\nT~\n");
    unlink("FACT0100.KAS");
    receipt(3910);
    EXPECT_EQ(slurp("FACT0100.KAS"), invoice + "T~\n");
}

TEST_F(Exchange, KasmutWritesEachClassUnderItsMarks) {
    // The demo: three branches, branch 0 has tills of its own.
    for (int vlag : {0, 1}) {
        SCOPED_TRACE(vlag);
        xch.kasmut_vlag = (uint8_t)vlag;
        unlink("KASMUT.TXT");
        struct {
            int fil;
            char code;
            bool written;
        } cases[] = {{1, 'A', true},   {1, 'E', false}, {0, 'E', true},  {1, 'd', vlag == 1},
                     {255, 'm', true}, {3, 'A', false}, {1, '#', false}, {0, 'k', true}};
        std::string want;
        for (auto &c : cases) {
            EXPECT_EQ(kasmut_schrijf(c.fil, 2, c.code, "00012345"), c.written) << c.code;
            char line[32];
            std::snprintf(line, sizeof line, "%03d002%c00012345\n", c.fil, c.code);
            if (c.written) want += line;
        }
        EXPECT_EQ(slurp("KASMUT.TXT"), want);
        EXPECT_EQ(kasmut_merken(0, 'A'), vlag ? 3 : 1);
        ASSERT_TRUE(kasmut_open(0));
        int fil, kas;
        char code, text[32];
        std::string read;
        while (kasmut_lees(&fil, &kas, &code, text, sizeof text)) {
            char line[48];
            std::snprintf(line, sizeof line, "%03d%03d%c%s\n", fil, kas, code, text);
            read += line;
        }
        kasmut_close();
        EXPECT_EQ(read, want);
    }
    xch.vlag1 &= (uint8_t)~4;
    EXPECT_FALSE(kasmut_schrijf(1, 2, 'A', "x")) << "without tills nothing is written";
}

TEST_F(Exchange, DcmuGoesToTheOnlineTillsOfTheFilter) {
    for (const char *f : {"KAS0001.SYS", "KAS0102.SYS", "KAS1.SYS", "KAS0103.TXT", "KASXX01.SYS"})
        std::ofstream(f) << "";
    konl_lijst_maak();
    EXPECT_EQ(konl_aantal(), 2);
    EXPECT_TRUE(dcmu_alle(255, 255, 'A', "00012"));
    EXPECT_TRUE(dcmu_alle(1, 255, 'E', "8712345678906"));
    EXPECT_FALSE(dcmu_alle(2, 255, 'A', "00013"));
    EXPECT_FALSE(dcmu_alle(0, 2, 'A', "00014"));
    EXPECT_EQ(slurp("DCMU0001.TXT"), "A00012\n");
    EXPECT_EQ(slurp("DCMU0102.TXT"), "A00012\nE8712345678906\n");
    struct stat st;
    ASSERT_EQ(stat("DCMU0001.TXT", &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u);
    EXPECT_THROW(dcmu_alle(3, 255, 'A', "x"), std::runtime_error) << "branch out of range";
}

} // namespace
