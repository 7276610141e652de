// Ready-made sets of UTF-16 units for `CUnicodeCategoryTable::LoadCategoryTable`, by Unicode 13.0.
//
// text/tables/README.md tells the format. Each blob is followed by zero bytes up to a whole number
// of groups of eight; `...Len` counts its bytes without them.
#pragma once

#include "foundation/LoamExport.h"

/// Lu Ll Lt Lm Lo Nd Nl No and surrogates: not the set of
/// `CUnicodeCategoryTable::GetLetterNumberTable`.
extern LOAM_EXPORT signed char const sLetterNumberCategoryTableData[];
extern LOAM_EXPORT int const sLetterNumberCategoryTableDataLen;

/// Lu Ll Lt Lm Lo Mn Nd Nl No and surrogates: not the set of
/// `CUnicodeCategoryTable::GetLetterNumberNSMTable`.
extern LOAM_EXPORT signed char const sLetterNumberNSMCategoryTableData[];
extern LOAM_EXPORT int const sLetterNumberNSMCategoryTableDataLen;

/// Mc Me Sm Sc Sk So.
extern LOAM_EXPORT signed char const sMarkSymbolCategoryTableData[];
extern LOAM_EXPORT int const sMarkSymbolCategoryTableDataLen;

/// Mn.
extern LOAM_EXPORT signed char const sNSMCategoryTableData[];
extern LOAM_EXPORT int const sNSMCategoryTableDataLen;

/// Pc Pd Ps Pe Pi Pf Po.
extern LOAM_EXPORT signed char const sPunctuationCategoryTableData[];
extern LOAM_EXPORT int const sPunctuationCategoryTableDataLen;

/// Zs Zl Zp Cc.
extern LOAM_EXPORT signed char const sSeparatorControlCategoryTableData[];
extern LOAM_EXPORT int const sSeparatorControlCategoryTableDataLen;
