// Folders inside one another, far deeper than any path reaches.
#include "files/CFolder.h"
#include "files/tests/FileTesting.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int OpenFolder(int parent, char const* name)
{
    return openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// Makes folders named "d" inside one another, without a path that names them.
void MakeDeep(std::string const& top, int depth)
{
    int folder = OpenFolder(AT_FDCWD, top.c_str());
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(folder, "d", 0755), 0) << i;
        int const inner = OpenFolder(folder, "d");
        ASSERT_GE(inner, 0) << i;
        close(folder);
        folder = inner;
    }
    close(folder);
}

// Goes down to the last of them and removes each on the way up. Answers how many there were.
int RemoveDeep(std::string const& top)
{
    int folder = OpenFolder(AT_FDCWD, top.c_str());
    int count = 0;
    for (int inner; (inner = OpenFolder(folder, "d")) >= 0; ++count) {
        close(folder);
        folder = inner;
    }
    for (int i = 0; i < count; ++i) {
        int const outer = OpenFolder(folder, "..");
        close(folder);
        folder = outer;
        EXPECT_EQ(unlinkat(folder, "d", AT_REMOVEDIR), 0) << i;
    }
    close(folder);
    return count;
}

}  // namespace

TEST(DeepFolders, DeeperThanPathsReachIsAnErrorAndLosesNothing)
{
    constexpr int kDepth = 5000;
    // In memory, where there is such a folder: a disk would take its time.
    std::filesystem::path const memory("/dev/shm");
    std::filesystem::path const place =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    StEnvironment const temporary("TMPDIR", place.string());
    StTempDir const temp;
    MakeDeep(temp.Path(), kDepth);
    EXPECT_EQ(Thrown([&] { CFolder(Spec(temp.Path("d"))).Delete(true, true); }).substr(0, 7),
              "1 in 4:");
    EXPECT_EQ(RemoveDeep(temp.Path()), kDepth);
}
