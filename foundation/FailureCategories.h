// The tables from platform errors to portable categories, one for each domain that maps them.
#pragma once

/// `FileCategory` of an `errno` value.
int FileCategoryOf(int error) noexcept;

/// `NetCategory` of an `errno` value, or of a resolver's result plus 1000.
int NetCategoryOf(int error) noexcept;

/// `ThreadCategory` of an `errno` value.
int ThreadCategoryOf(int error) noexcept;

/// `SharedMemoryCategory` of an `errno` value.
int SharedMemoryCategoryOf(int error) noexcept;
