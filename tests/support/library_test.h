// The fixture of every test that runs the library: up before the case, down after
// it, and nothing left out. UtilInit works once in a process, so each case is a
// process of its own; CTest runs them that way.
#ifndef TESTS_SUPPORT_LIBRARY_TEST_H
#define TESTS_SUPPORT_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include "platform/control.h"
#include "platform/messagebox.h"
#include "tests/support/boxes.h"
#include "vr/vr.h"

class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        boxes.Attach();
        UtilInit(nullptr);
    }

    void TearDown() override {
        VrExit(0);
        EXPECT_EQ(ControlBlocksOut(), 0u) << "blocks still out after VrExit";
    }

    Boxes boxes;
};

#endif
