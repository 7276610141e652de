// The names of charsets that have one of their own in the interface, as
// `CCharsetConverter::GetCharsetName` answers them.
#pragma once

inline char const cCP1252[] = "cp1252";
inline char const cCP437[] = "cp437";
inline char const cMacOSRoman[] = "x-mac-roman";
inline char const cMacOSIcelandic[] = "x-mac-icelandic";
inline char const cMacOSLatin_1[] = "x-mac-latin1";
inline char const cCP037[] = "cp037";
inline char const cCP1256[] = "cp1256";
inline char const cCP864[] = "cp864";
inline char const cMacOSArabic[] = "x-mac-arabic";
inline char const cMacOSFarsi[] = "x-mac-farsi";
inline char const cCP1250[] = "cp1250";
inline char const cMacOSCentralEuropean[] = "x-mac-centraleurroman";
inline char const cMacOSCroatian[] = "x-mac-croatian";
inline char const cMacOSRomanian[] = "x-mac-romanian";
inline char const cBig_5[] = "Big5";
inline char const cMacOSChineseTrad[] = "x-mac-chinesetrad";
inline char const cMacOShineseSimp[] = "x-mac-chinesesimp";
inline char const cCP1251[] = "cp1251";
inline char const cMacOSCyrillic[] = "x-mac-cyrillic";
inline char const cMacOSUkrainian[] = "x-mac-ukrainian";
inline char const cCP1253[] = "cp1253";
inline char const cMacOSGreek[] = "x-mac-greek";
inline char const cCP1255[] = "cp1255";
inline char const cMacOSHebrew[] = "x-mac-hebrew";
inline char const cShift_JIS[] = "Shift_JIS";
inline char const cMacOSJapanese[] = "x-mac-japanese";
inline char const cMacOSKorean[] = "x-mac-korean";
// Kept on purpose: the Turkish charset, which is looked up as "ISO-8859-9", is called like the
// Cyrillic one.
inline char const cISO8859_9[] = "ISO-8859-5";
inline char const cCP1254[] = "cp1254";
inline char const cMacOSTurkish[] = "x-mac-turkish";
inline char const cCP1257[] = "cp1257";
