// Journals: the check and jrnutil over a table of files, the dump against
// hand-laid bytes, a random model of writing, rewriting, purging and
// cutting journals, reading while another process appends, the receipt
// work file with its index and posting, and the file names.
#include "base/fatal.h"
#include "sale/iojrn.h"
#include "sale/jrnnaam.h"
#include "sale/vrkbon.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// Records of the given letters with zero payloads.
std::string records(const std::string &letters) {
    std::string s;
    for (char c : letters) {
        s += c;
        s.append((size_t)std::max(0, jrn_payload_len(c)), '\0');
    }
    return s;
}

void write(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string slurp(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

// The letters of a file's records, as the cursor reads them.
std::string letters(const std::string &path) {
    std::string s;
    jrn_cursor *c = iojrn_open(path.c_str(), O_RDONLY);
    while (c && iojrn_read(c))
        s += c->letter;
    iojrn_close(c);
    return s;
}

// Byte images compared without printing them whole.
::testing::AssertionResult same(const std::string &got, const std::string &want) {
    if (got == want) return ::testing::AssertionSuccess();
    size_t i = 0;
    while (i < got.size() && i < want.size() && got[i] == want[i])
        ++i;
    return ::testing::AssertionFailure()
           << "sizes " << got.size() << " and " << want.size() << ", first difference at " << i;
}

std::string jrnutil(const std::string &args, int *status) {
    return nvt::run(std::string(NV_BIN_DIR) + "/jrnutil " + args + " 2>&1", status);
}

TEST(Journal, CheckAndJrnutilOnATableOfFiles) {
    nvt::TempDir dir;
    const long whole = (long)records("HVTX").size();
    struct Case {
        std::string bytes;
        long result;
        int status; // 0 consistent, 1 incomplete, 2 damaged
    } cases[] = {
        {"", 1, 0},
        {records("HVTX"), whole, 0},
        {records("HVTXHUUX"), (long)records("HVTXHUUX").size(), 0},
        {records("HSETX"), (long)records("HSETX").size(), 0}, // a group left empty
        {records("HRZzIVITBBX"), (long)records("HRZzIVITBBX").size(), 0},
        {records("HVTXHV"), whole, 1}, // ends on a boundary, no X
        {records("HVTXHVT"), whole, 1},
        {records("HVTX") + "H", -1, 2},                         // only the letter
        {records("HVTX") + "V" + std::string(59, '\0'), -1, 2}, // cut inside a payload
        {records("HTX"), -1, 2},                                // no line before T
        {records("HX"), -1, 2},
        {records("HDITX"), -1, 2},  // I after D
        {records("HVIITX"), -1, 2}, // I after I
        {records("HRETX"), -1, 2},  // a group can't end on a return
        {records("HSRETX"), -1, 2},
        {records("HUTX"), -1, 2},
        {records("HVTX") + "Q", -1, 2},
        {records("VTX"), -1, 2},
    };
    int i = 0;
    for (const Case &c : cases) {
        std::string path = dir.file("J" + std::to_string(i++));
        write(path, c.bytes);
        SCOPED_TRACE(path);
        EXPECT_EQ(iojrn_check(path.c_str()), c.result);
        int status;
        std::string out = jrnutil("check " + path, &status);
        const char *word[] = {"consistent", "incomplete", "damaged"};
        EXPECT_EQ(out, path + ": result " + std::to_string(c.result) + ", size " +
                           std::to_string(c.bytes.size()) + ", " + word[c.status] + "\n");
        EXPECT_EQ(status, c.status);
        EXPECT_TRUE(same(slurp(path), c.bytes)); // reading only
    }
    EXPECT_EQ(iojrn_check(dir.file("none").c_str()), 1);
    for (std::string bad :
         {std::string(), std::string("check"), "check " + dir.file("none"), "dump " + dir.path(),
          "frob " + dir.file("J1"), std::string("check a b")}) {
        int status;
        std::string out = jrnutil(bad, &status);
        EXPECT_EQ(status, 3) << bad;
        EXPECT_FALSE(out.empty()) << bad;
    }
}

TEST(Journal, DumpShowsTheFieldsOfHandLaidBytes) {
    nvt::TempDir dir;
    auto le = [](std::string &s, size_t off, uint64_t v, int n) {
        for (int k = 0; k < n; ++k)
            s[off + (size_t)k] = (char)((v >> (8 * k)) & 0xFF);
    };
    std::string h(20, '\0');
    le(h, 0, 7, 2), le(h, 2, 3, 2), le(h, 4, 123456, 4), le(h, 8, 45000, 2), le(h, 10, 600, 2);
    h[12] = 1, h[13] = 2, h.replace(16, 3, "EUR"), h[19] = 4;
    std::string v(60, '\0');
    v.replace(0, 7, "8712345"), v[13] = 'M', le(v, 14, 12, 2), v.replace(16, 3, "a\"b");
    le(v, 32, 2, 2), le(v, 34, 1, 2), le(v, 36, 99, 4), le(v, 40, (uint32_t)-500, 4);
    le(v, 44, 1000, 4), le(v, 48, 826, 4), le(v, 52, 15, 2);
    v[54] = 3, v[55] = 2, v[56] = 9, v[57] = 2, v[58] = (char)65;
    std::string u(44, '\0');
    u[30] = 9, u[31] = 2, le(u, 32, 2500, 4);
    std::string path = dir.file("VRK0201.JRN");
    write(path, "H" + h + "V" + v + "E" + "U" + u + "X" + "T" + std::string(3, '\0'));
    int status;
    EXPECT_EQ(jrnutil("dump " + path, &status),
              "0 H bonnr=7 vkpnr=3 kltnr=123456 datum=45000 tijd=600 kasnr=1 filnr=2 "
              "valuta=\"EUR\" hflags=4\n"
              "21 V invoer=\"8712345\" soort=M vkpnr=12 opmerking=\"a\\\"b\" aantal=2 rest=1 "
              "nummer=99 prijs=-500 bedrag=1000 bedrag_excl=826 omzetgroep=15 actie=3 btw=2 "
              "ander_fil=9 eti_status=2 lflags=65\n"
              "82 E\n"
              "83 U betm_soort=9 betm_nr=2 bedrag=2500\n"
              "128 X\n"
              "129 ?\n");
    EXPECT_EQ(status, 0);
    jrn_cursor *c = iojrn_open(path.c_str(), O_RDONLY);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->filnr, 2);
    EXPECT_EQ(c->kasnr, 1);
    iojrn_close(c);
}

// ---- the model: a journal as a list of records

struct Rec {
    char letter;
    std::string payload;
    long off = 0;
};

struct Model {
    std::mt19937 rnd;
    std::vector<Rec> recs;
    explicit Model(unsigned seed) : rnd(seed) {}
    int pick(int n) { return (int)(rnd() % (unsigned)n); }
    void add(char letter) {
        std::string p((size_t)jrn_payload_len(letter), '\0');
        for (char &c : p)
            c = (char)rnd();
        recs.push_back({letter, p});
    }
    // A transaction that follows the successor table: a header with a date
    // and perhaps the processed mark, then U records, or lines (with
    // explanations), groups and received amounts, a total and payments.
    void transaction(int bonnr) {
        add('H');
        jrn_h h;
        std::memcpy(&h, recs.back().payload.data(), sizeof h);
        h.bonnr = (uint16_t)bonnr;
        h.datum = (uint16_t)(1 + pick(20));
        h.hflags = (uint8_t)(pick(3) ? HF_VERWERKT : 0);
        std::memcpy(recs.back().payload.data(), &h, sizeof h);
        bool cash = pick(6) == 0;
        for (int n = 1 + pick(5); n > 0; --n) {
            int k = cash ? -1 : pick(8);
            if (k == 0) {
                add('S');
                for (int g = pick(3); g > 0; --g)
                    add('V');
            }
            add(cash ? 'U' : k == 0 ? 'E' : k == 1 ? 'D' : "VRZzVV"[pick(6)]);
            if (k > 1 && pick(4) == 0) add('I');
        }
        if (!cash) add('T');
        for (int n = cash ? 0 : pick(3); n > 0; --n)
            add('B');
        add('X');
    }
    std::string file() {
        std::string s;
        for (Rec &r : recs) {
            r.off = (long)s.size();
            s += r.letter + r.payload;
        }
        return s;
    }
};

unsigned seed_of() {
    const char *s = std::getenv("NV_SEED");
    unsigned seed = s ? (unsigned)std::strtoul(s, nullptr, 10) : std::random_device{}();
    std::printf("seed %u (NV_SEED to repeat)\n", seed);
    return seed;
}

// Reads the whole file through a cursor and compares it with the model;
// at every record the header area holds the last H.
void expect_reads_as(const std::string &path, const std::vector<Rec> &recs) {
    jrn_cursor *c = iojrn_open(path.c_str(), O_RDONLY);
    ASSERT_NE(c, nullptr);
    std::string last_h;
    for (const Rec &r : recs) {
        ASSERT_EQ(iojrn_read(c), 1);
        ASSERT_EQ(c->letter, r.letter);
        if (r.letter == 'H') last_h = r.payload;
        if (void *a = iojrn_area(c, r.letter)) {
            ASSERT_TRUE(same(std::string((char *)a, r.payload.size()), r.payload));
        }
        ASSERT_TRUE(same(std::string((char *)&c->h, 20), last_h));
    }
    EXPECT_EQ(iojrn_read(c), 0);
    EXPECT_EQ(c->letter, '~');
    iojrn_close(c);
}

TEST(Journal, ModelOfWritingRewritingPurgingAndCutting) {
    unsigned seed = seed_of();
    Model m(seed);
    nvt::TempDir dir;
    std::string path = dir.file("VRK0300.JRN");
    for (int t = 1; t <= 300; ++t)
        m.transaction(t);

    // Written through a cursor, record by record.
    jrn_cursor *w = iojrn_open(path.c_str(), O_RDWR | O_CREAT);
    ASSERT_NE(w, nullptr);
    for (const Rec &r : m.recs) {
        if (void *a = iojrn_area(w, r.letter)) std::memcpy(a, r.payload.data(), r.payload.size());
        ASSERT_EQ(iojrn_append(w, r.letter), 1);
    }
    std::string image = m.file();
    EXPECT_TRUE(same(slurp(path), image));
    EXPECT_EQ(iojrn_check(path.c_str()), (long)image.size());

    // Records revisited by their offsets, changed in their areas and
    // written back in place, as processing marks them.
    for (int k = 0; k < 200; ++k) {
        Rec &r = m.recs[(size_t)m.pick((int)m.recs.size())];
        if (!iojrn_area(w, r.letter)) continue;
        w->pos = r.off;
        ASSERT_EQ(iojrn_read(w), 1);
        size_t at = (size_t)m.pick((int)r.payload.size());
        if (r.letter == 'H') at = offsetof(jrn_h, hflags);
        ((char *)iojrn_area(w, r.letter))[at] ^= HF_VERWERKT;
        r.payload[at] ^= HF_VERWERKT;
        ASSERT_EQ(r.letter == 'H' ? iojrn_rewrite_header(w) : iojrn_rewrite_last(w), 1);
        EXPECT_EQ(w->pos, r.off + 1 + (long)r.payload.size());
    }
    iojrn_reopen(w);
    iojrn_close(w);
    image = m.file();
    EXPECT_TRUE(same(slurp(path), image));
    expect_reads_as(path, m.recs);

    // Cut copies: on a boundary the check gives the end of the last X before
    // the cut, inside a record -1.
    for (int k = 0; k < 40; ++k) {
        size_t cut = (size_t)m.pick((int)image.size()) + 1;
        long expect = 0;
        bool boundary = cut == image.size();
        for (const Rec &r : m.recs) {
            size_t end = (size_t)r.off + 1 + r.payload.size();
            if (end <= cut && r.letter == 'X') expect = (long)end;
            boundary = boundary || end == cut;
        }
        std::string cutpath = dir.file("CUT");
        write(cutpath, image.substr(0, cut));
        EXPECT_EQ(iojrn_check(cutpath.c_str()), boundary ? expect : -1) << "cut at " << cut;
    }

    // Purge: the records of processed transactions up to the date go, the
    // rest stays in order, and a damaged tail is kept as it stands.
    uint16_t last = (uint16_t)(1 + m.pick(20));
    std::vector<Rec> kept;
    jrn_h h{};
    for (const Rec &r : m.recs) {
        if (r.letter == 'H') std::memcpy(&h, r.payload.data(), sizeof h);
        if (!((h.hflags & HF_VERWERKT) && h.datum <= last)) kept.push_back(r);
    }
    write(path, image + "H" + "abc");
    ASSERT_TRUE(iojrn_purge(path.c_str(), last));
    m.recs = kept;
    EXPECT_TRUE(same(slurp(path), m.file() + "Habc"));
    EXPECT_EQ(nvt::run("ls " + dir.path()), "CUT\nVRK0300.JRN\n"); // no work file left
}

TEST(Journal, ReadsWhileAnotherProcessAppends) {
    nvt::TempDir dir;
    std::string path = dir.file("VRK0400.JRN");
    write(path, "");
    const int n = 600; // some 100 KB: the reader refills its buffer many times
    pid_t child = fork();
    if (child == 0) {
        jrn_cursor *c = iojrn_open(path.c_str(), O_RDWR | O_APPEND);
        for (int t = 1; t <= n; ++t) {
            c->h = jrn_h{};
            c->h.bonnr = (uint16_t)t;
            iojrn_append(c, 'H'); // letter and payload in two writes
            for (int l = 0; l < 2; ++l) {
                c->regel.aantal = (uint16_t)l;
                iojrn_append(c, 'V');
            }
            iojrn_append(c, 'T');
            iojrn_append(c, 'X');
            if (t % 50 == 0) usleep(2000);
        }
        iojrn_close(c);
        _exit(0);
    }
    jrn_cursor *c = iojrn_open(path.c_str(), O_RDONLY);
    ASSERT_NE(c, nullptr);
    std::string seen, want;
    int last_bon = 0, status = 0;
    bool done = false;
    while (true) {
        if (iojrn_read(c)) {
            seen += c->letter;
            if (c->letter == 'H') {
                EXPECT_EQ(c->h.bonnr, ++last_bon);
            }
            continue;
        }
        ASSERT_TRUE(c->letter == '~' || c->letter == '?');
        if (done) break;
        done = waitpid(child, &status, WNOHANG) == child; // one more pass after the end
        usleep(200);
    }
    iojrn_close(c);
    EXPECT_EQ(status, 0);
    for (int t = 0; t < n; ++t)
        want += "HVVTX";
    EXPECT_EQ(seen, want);
}

// ---- the receipt work file

class Bon : public ::testing::Test {
  protected:
    nvt::TempDir dir;
    char cwd[4096];
    void SetUp() override {
        ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        nv::set_fatal_handler([](const char *t) { throw std::runtime_error(t); });
    }
    void TearDown() override {
        vrkbon_set_omzet(nullptr);
        vrkbon_set_op_rekening(nullptr);
        nv::set_fatal_handler(nullptr);
        EXPECT_EQ(chdir(cwd), 0);
    }
};

std::vector<std::string> g_calls;

TEST_F(Bon, IndexCancellingAndPosting) {
    write("VRK0500.BON", "left by a crash");
    write("VRK0500.JRN", records("HVTX"));
    vrkbon_set_omzet([](int branch) { // the closed receipt, its index still there
        g_calls.push_back("omzet " + std::to_string(branch) + " " + letters("VRK0500.BON") + " " +
                          std::to_string(vrkbon_count()));
    });
    vrkbon_set_op_rekening([](int branch, uint32_t kltnr, const jrn_d &d) {
        g_calls.push_back("op_rekening " + std::to_string(branch) + " " + std::to_string(kltnr) +
                          " " + std::to_string(d.op_bonnr));
    });

    jrn_cursor *c = vrkbon_open(5);
    EXPECT_EQ(slurp("VRK0500.OLD"), "left by a crash");
    EXPECT_THROW(vrkbon_open(5), std::runtime_error); // one receipt at a time
    c->h.filnr = 5;
    c->h.kltnr = 42;
    EXPECT_EQ(vrkbon_last_live(), 0);
    vrkbon_add(c, 'H');
    EXPECT_EQ(vrkbon_last_live(), 0); // only the H
    vrkbon_add(c, 'V');               // 1
    vrkbon_add(c, 'S');               // 2
    vrkbon_add(c, 'E');               // 3
    c->d.op_datum = 100, c->d.op_bonnr = 17;
    vrkbon_add(c, 'D'); // 4: pays an open sale
    c->d.op_bonnr = 18;
    vrkbon_add(c, 'D'); // 5: cancelled, pays nothing
    vrkbon_add(c, 'T'); // 6: a total given up, not posted
    EXPECT_EQ(vrkbon_count(), 7);
    EXPECT_EQ(vrkbon_next(), 7);
    for (int i : {6, 5, 3, 2})
        vrkbon_cancel(i);
    vrkbon_cancel(99);
    EXPECT_EQ(vrkbon_last_live(), 4);
    vrkbon_entry e;
    ASSERT_EQ(vrkbon_get(4, &e), 1);
    EXPECT_EQ(e.letter, 'D');
    EXPECT_EQ(e.offset, 1 + 20 + 61 + 57 + 1);
    EXPECT_EQ(vrkbon_get(7, &e), 0);

    vrkbon_close(c, true);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"omzet 5 HVSEDDTTX 9", "op_rekening 5 42 17"}));
    EXPECT_EQ(access("VRK0500.BON", F_OK), -1);
    EXPECT_EQ(vrkbon_count(), 0);
    // The cancelled T is left out; S, E and the cancelled D go over.
    EXPECT_EQ(letters("VRK0500.JRN"), "HVTX"
                                      "HVSEDDTX");
    EXPECT_EQ(iojrn_check("VRK0500.JRN"), (long)slurp("VRK0500.JRN").size());

    // An empty receipt leaves nothing behind; a change that books its own
    // turnover posts without the hook (into branch 120's journal here).
    g_calls.clear();
    vrkbon_close(vrkbon_open(5), false);
    EXPECT_EQ(access("VRK0500.BON", F_OK), -1);
    c = vrkbon_open(120);
    vrkbon_add(c, 'H');
    vrkbon_add(c, 'V');
    vrkbon_close_noturnover(c);
    EXPECT_TRUE(g_calls.empty());
    EXPECT_EQ(slurp("VR12000.JRN"), records("HVTX"));
    struct stat st;
    ASSERT_EQ(stat("VR12000.JRN", &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u); // rw-rw---- whatever the umask
}

TEST(JournalNames, BranchesTillsAndPatterns) {
    // branch, till: journal, work file, crashed work file, all tills of the branch
    struct {
        int branch, till;
        std::string names;
    } cases[] = {
        {0, 0, "VRK0000.JRN VRK0000.BON VRK0000.OLD VRK00??.JRN"},
        {99, 0, "VRK9900.JRN VRK9900.BON VRK9900.OLD VRK99??.JRN"},
        {100, 0, "VR10000.JRN VR10000.BON VR10000.OLD VR100??.JRN"},
        {254, 99, "VR25499.JRN VR25400.BON VR25400.OLD VR254??.JRN"},
    };
    char j[13], b[13], o[13], p[13];
    for (auto &c : cases) {
        jrn_naam(j, c.branch, c.till), bon_naam(b, c.branch), bon_oud_naam(o, c.branch);
        jrn_patroon(p, c.branch, JRN_ALLE);
        EXPECT_EQ(std::string(j) + " " + b + " " + o + " " + p, c.names);
        int br, t;
        jrn_naam_uit((std::string("/x/y/") + j).c_str(), &br, &t);
        EXPECT_EQ(br * 100 + t, c.branch * 100 + c.till);
    }
    for (const char *other : {"DTSYS.TXT", "VRKAB00.JRN", "VR1", ""}) {
        int br, t;
        jrn_naam_uit(other, &br, &t);
        EXPECT_EQ(br * 1000 + t, JRN_ALLE * 1000 + JRN_ALLE) << other;
    }
    jrn_patroon(j, JRN_ALLE, JRN_ALLE), jrn_patroon(p, JRN_ALLE, 3);
    EXPECT_EQ(std::string(j) + " " + p, "VR?????.JRN VR???03.JRN");
    char bad[64];
    jrn_bad_naam(bad, sizeof bad, "dir/VRK0712.JRN");
    EXPECT_STREQ(bad, "dir/VRK0712.BAD");
}

} // namespace
