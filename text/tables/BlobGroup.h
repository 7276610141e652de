// How the generated sources write a blob: eight bytes at a time as they follow each other, kept as
// the host keeps a 64-bit number, so that they stand in reverse on a little-endian host. Included
// by *.gen.cpp only.
#pragma once

#define BLOB_BYTE(group, at) static_cast<signed char>((group) >> (8 * (at)) & 0xFF)

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define G(group)                                                                                   \
    BLOB_BYTE(group##ULL, 0), BLOB_BYTE(group##ULL, 1), BLOB_BYTE(group##ULL, 2),                  \
        BLOB_BYTE(group##ULL, 3), BLOB_BYTE(group##ULL, 4), BLOB_BYTE(group##ULL, 5),              \
        BLOB_BYTE(group##ULL, 6), BLOB_BYTE(group##ULL, 7)
#else
#define G(group)                                                                                   \
    BLOB_BYTE(group##ULL, 7), BLOB_BYTE(group##ULL, 6), BLOB_BYTE(group##ULL, 5),                  \
        BLOB_BYTE(group##ULL, 4), BLOB_BYTE(group##ULL, 3), BLOB_BYTE(group##ULL, 2),              \
        BLOB_BYTE(group##ULL, 1), BLOB_BYTE(group##ULL, 0)
#endif
