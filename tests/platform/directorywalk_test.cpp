#include "tests/support/testhome.h"

#include "platform/files/directorywalk.h"

#include <gtest/gtest.h>

using DirectoryWalk = TestHome;

TEST_F(DirectoryWalk, TellsHowMuchIsWalked)
{
    for (const char *file : {"tree/folder/one", "tree/folder/two", "tree/file"})
        write(file, "");
    std::filesystem::create_directory(home() / "tree/empty");
    platform::DirectoryWalk walk(home() / "tree");
    int atTop = 0; // of three
    int below = 0; // of two
    while (const auto entry = walk.next()) {
        if (entry->has_parent_path())
            ++below;
        else
            ++atTop;
        const double inFolder = *entry == "folder" || *entry == "empty" ? -1
                                : entry->has_parent_path()              ? below / 2.0 - 1
                                                                        : 0;
        EXPECT_NEAR(walk.part(), (atTop + inFolder) / 3, 1e-9) << *entry;
    }
    EXPECT_EQ(walk.part(), 1);
    EXPECT_EQ(platform::DirectoryWalk(home() / "none").part(), 0);
}
