// Makes and reads the blobs that category and mapping tables are loaded from
// (text/tables/README.md), byte by byte.
#pragma once

#include <string>
#include <vector>

#include "testing/NaiveMapping.h"

/// A blob in the form that it is stored in. `mBytes` has a whole number of groups and not a byte
/// more.
struct TableBlob
{
    std::vector<signed char> mBytes;
    int mLength = 0;

    signed char* Data() { return mBytes.data(); }
};

/// Stores the bytes of a stream. A length below 0 means all of it; a shorter one cuts the stream.
TableBlob StoreBlob(std::string const& stream, int length = -1);
/// The bytes of a stored blob in their logical order.
std::string StreamOf(signed char const* blob, int length);

/// One record of a mapping blob.
struct MappingRecord
{
    unsigned char mPage = 0;
    std::u16string mData;
    unsigned char mFirst = 0;
    std::u16string mIndex;
};

std::string StreamOf(MappingRecord const& record);
/// The stream of records that holds `mapping`.
std::string StreamOf(UnitMapping const& mapping);

/// The records of a good stream, as far as they are whole.
std::vector<MappingRecord> MappingRecordsOf(std::string const& stream);
/// What the records map.
UnitMapping MappingOf(std::vector<MappingRecord> const& records);
