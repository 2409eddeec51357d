// PRT_TABLES: the four printer tables are there and can be read before the
// open reads them (the store ends the program on a file it can't open).
// A table that fails the store's check gets a new index from its data
// file; one without a data file is made with its first rows. Tables the
// user may only read are taken as they are: they can't be mended here.
#include "base/catalog.h"
#include "print/prtint.h"
#include "store/ixcheck.h"

#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace nv::prt;

namespace {

bool present(const std::string &path, off_t least) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= least;
}

// The directory the tables are made in: that of the path, or ".".
std::string dir_of(const std::string &path) {
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool refuse(const char *fmt, const std::string &path) {
    char text[200];
    std::snprintf(text, sizeof text, fmt, path.c_str());
    flash(KOR(4, 72, "PRINTEN"), text);
    return false;
}

} // namespace

bool PRT_TABLES() {
    for (int t = 0; t < PRT_TABLE_COUNT; ++t) {
        std::string path = PRT_TABLEPATH(prt_layouts[t].file);
        std::string data = path + ".TXT", index = path + ".INX";
        bool have_data = present(data, 0), have_index = present(index, 512);
        bool readable = ::access(data.c_str(), R_OK) == 0 && ::access(index.c_str(), R_OK) == 0;
        bool writable = ::access(dir_of(path).c_str(), W_OK | X_OK) == 0 &&
                        (!have_data || ::access(data.c_str(), W_OK) == 0) &&
                        (!have_index || ::access(index.c_str(), W_OK) == 0);
        if (!writable) {
            if (have_data && have_index && readable) continue;
            return refuse(have_data ? KOR(4, 75, "Printertabel %s kan niet gelezen worden")
                                    : KOR(4, 74, "Printertabel %s kan niet aangemaakt worden"),
                          path);
        }
        if (IXCHECK(path.c_str()) >= 0) continue;
        if (!have_data) {
            table_create((PrtTable)t, path.c_str());
        } else if (!table_repair((PrtTable)t, path.c_str())) {
            return refuse(KOR(4, 76, "Printertabel %s is beschadigd en kan niet hersteld worden"),
                          path);
        }
    }
    return true;
}
