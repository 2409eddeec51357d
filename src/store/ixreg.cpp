// The registry of open ICBs: see ixreg.h. A file is taken out before it is
// closed, so that a close that fails on the way to the fatal path is not
// tried a second time.
#include "store/ixreg.h"

#include "base/fatal.h"
#include "store/ix.h"

#include <algorithm>
#include <vector>

namespace nv::store {
namespace {
std::vector<ICB *> &open_list() {
    static std::vector<ICB *> v;
    return v;
}
} // namespace

void icb_opened(ICB *icb) {
    nv::on_fatal_stop(close_all_icbs);
    open_list().push_back(icb);
}

void icb_closed(ICB *icb) {
    auto &v = open_list();
    auto it = std::find(v.begin(), v.end(), icb);
    if (it != v.end()) v.erase(it);
}

int open_icbs() {
    return (int)open_list().size();
}

void close_all_icbs() {
    auto &v = open_list();
    while (!v.empty())
        IXCLOSE(v.back()); // IXCLOSE takes it out
}

} // namespace nv::store
