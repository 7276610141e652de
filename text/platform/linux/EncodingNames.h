// The numbers that the desktop gives its encodings, by their Internet names.
#pragma once

#include <string>

/// The number of an encoding's name, in any case; `CBasicCharsetPlatform::kInvalidEncoding` for a
/// name that isn't known. Asked in this order: "iso-8859-" and a part's number, "cp" or "windows-"
/// and a code page's number, the name itself with or without "x-mac-" in front, and ICU's aliases.
/// What follows a number isn't looked at, so that "windows-1251x" is 1251. Any thread may call.
unsigned int EncodingOfName(std::string const& name);
