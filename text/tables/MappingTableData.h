// The built-in mappings as blobs for `CUnicodeMappingTable::LoadMappingTable`, by Unicode 13.0.
//
// text/tables/README.md tells the format. Each blob is followed by zero bytes up to a whole number
// of groups of eight; `...Len` counts its bytes without them. `CUnicodeMappingTable` tells what
// each holds, at the accessor of its name.
#pragma once

#include "foundation/LoamExport.h"

extern LOAM_EXPORT signed char const sCaseFoldingMappingTableData[];
extern LOAM_EXPORT int const sCaseFoldingMappingTableDataLen;

extern LOAM_EXPORT signed char const sDecomposeAllMappingTableData[];
extern LOAM_EXPORT int const sDecomposeAllMappingTableDataLen;

extern LOAM_EXPORT signed char const sDecomposeDiacriticsMappingTableData[];
extern LOAM_EXPORT int const sDecomposeDiacriticsMappingTableDataLen;

extern LOAM_EXPORT signed char const sDefaultMappingTableData[];
extern LOAM_EXPORT int const sDefaultMappingTableDataLen;

extern LOAM_EXPORT signed char const sStripNSMMappingTableData[];
extern LOAM_EXPORT int const sStripNSMMappingTableDataLen;
