#include <gtest/gtest.h>

#include "tessiva.h"

TEST(Exports, CreateAndRelease) {
    ITessiva* v1 = GetTessiva();
    ASSERT_NE(v1, nullptr);
    EXPECT_EQ(ReleaseTessiva(v1), 0);
    ITessiva2* v2 = GetTessiva2();
    ASSERT_NE(v2, nullptr);
    EXPECT_EQ(ReleaseTessiva2(v2), 0);
}
