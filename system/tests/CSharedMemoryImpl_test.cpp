#include "system/CSharedMemoryImpl.h"

#include "marl/HierarchicalException.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(CSharedMemoryImpl, ThrowsTheCategoryOfErrno)
{
    struct
    {
        char const* mWhat;
        int mError;
        int mCategory;
    } const cases[] = {
        {"EACCES", EACCES, 1},   {"EROFS", EROFS, 1},   {"EEXIST", EEXIST, 2},
        {"ENFILE", ENFILE, 3},   {"EMFILE", EMFILE, 3}, {"ENAMETOOLONG", ENAMETOOLONG, 4},
        {"ENOENT", ENOENT, 5},   {"ENOSPC", ENOSPC, 6}, {"EIO", EIO, 7},
        {"EINVAL", EINVAL, 100}, {"EPERM", EPERM, 100}, {"ENOMEM", ENOMEM, 100},
        {"no error", 0, 100},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        errno = c.mError;
        try {
            CSharedMemoryImpl::ThrowException(kSharedMemoryOpenExisting, "shm_open");
        } catch (HierarchicalException const& e) {
            ASSERT_EQ(e.levels.size(), 1u);
            EXPECT_EQ(e.levels[0].signature, 0x53684D6Du);
            EXPECT_EQ(e.levels[0].category, c.mCategory);
            EXPECT_EQ(e.levels[0].context, 2);
            EXPECT_EQ(e.levels[0].osError, c.mError);
            EXPECT_EQ(e.levels[0].text, "shm_open");
        }
    }
}

TEST(CSharedMemoryImpl, TellsWhatWasBeingDone)
{
    struct
    {
        CSharedMemoryError mError;
        int mContext;
        char const* mOperation;
    } const cases[] = {
        {kSharedMemoryAllocate, 1, "ftruncate"},
        {kSharedMemoryOpenExisting, 2, "fstat"},
        {kSharedMemoryClose, 3, "munmap"},
        {kSharedMemoryDeallocate, 4, "shm_unlink"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mOperation);
        errno = ENOENT;
        try {
            CSharedMemoryImpl::ThrowException(c.mError, c.mOperation);
        } catch (HierarchicalException const& e) {
            EXPECT_EQ(e.levels[0].context, c.mContext);
            EXPECT_EQ(e.levels[0].text, c.mOperation);
        }
    }
}
