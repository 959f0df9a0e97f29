#include "util/WholeFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

TEST(WholeFile, TakesItsNameOnlyWhenItIsWhole) {
    const CTempDir dir;
    const std::string path = dir.Write("file", "old");
    fs::create_hard_link(path, dir.PathOf("before"));
    fs::create_symlink("file", dir.PathOf("link"));
    EXPECT_EQ(WriteWholeFile(dir.PathOf("link"), std::string("n\0w", 3)), "");
    EXPECT_EQ(dir.Read("file"), std::string("n\0w", 3));
    EXPECT_EQ(dir.Read("before"), "old") << "a reader of the old file is not disturbed";

    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {5, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string error = WriteWholeFile(path, "does not fit");
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(error, "File too large");
    EXPECT_EQ(dir.Read("file"), std::string("n\0w", 3));

    EXPECT_EQ(MakeRoomForWholeFile(dir.PathOf("link")), "");
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(WriteWholeFile(dir.PathOf("link"), "again"), "");
    EXPECT_EQ(dir.Read("file"), "again");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.Path()), {}), 3) << "before, file, link";
}

TEST(WholeFile, DevicesStayAndFoldersAreRefused) {
    EXPECT_EQ(MakeRoomForWholeFile("/dev/full"), "");
    EXPECT_EQ(WriteWholeFile("/dev/full", "x"), "No space left on device");
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    for (const auto function :
         {+[](const std::string& path) { return WriteWholeFile(path, "x"); },
          +[](const std::string& path) { return MakeRoomForWholeFile(path); }}) {
        EXPECT_EQ(function("/tmp"), "Is a directory");
        EXPECT_EQ(function("/dev/null/x"), "Not a directory");
        EXPECT_EQ(function("/nowhere/x"), "No such file or directory");
        EXPECT_EQ(function("/tmp/" + std::string(256, 'x')), "File name too long");
    }
}

}  // namespace
