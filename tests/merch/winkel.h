// A demo shop for the merchandise tests, made and entered: the current
// directory is the shop, with the system file, the label store and the
// master file set open.
#pragma once

#include "demoshop.h"
#include "frame/iosys.h"
#include "merch/ioeti.h"
#include "merch/stam.h"
#include "support/tmux.h"

#include <gtest/gtest.h>
#include <unistd.h>

struct Winkel {
    nvt::TempDir shop;
    char cwd[4096] = {};
    void open() {
        ASSERT_EQ(demo::build(shop.path(), demo::Options{}), "");
        ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(chdir(shop.path().c_str()), 0);
        long n = 1;
        iosys('O', &n, nullptr, sysmap::FIXED);
        int32_t l = 0;
        ioeti('O', &l, nullptr);
        stam_open();
    }
    void close() {
        stam_close();
        int32_t l = 0;
        ioeti('C', &l, nullptr);
        long n = 1;
        iosys('C', &n, nullptr, sysmap::FIXED);
        EXPECT_EQ(chdir(cwd), 0);
    }
};
