// Text and numbers as people read them on a terminal, where no control character may arrive.
#pragma once

#include <string>
#include <string_view>

/// UTF-8 for people: control characters as \n, \t, \x1b, \u009b. In names, the controls that turn
/// the direction of text are shown too, and tabs; in text both stay.
std::string SafeName(std::string_view utf8);
std::string SafeText(std::string_view utf8);
/// UTF-16 to UTF-8.
std::string ToUTF8(std::u16string_view text);
/// 1234567 as 1,234,567.
std::string Grouped(long long number);
/// "1 file", "2 files".
std::string Counted(long long number, std::string_view one, std::string_view many);
/// Bytes for people: "512 bytes", "3.4 KB", "1.2 GB"; units of 1000.
std::string SizeForPeople(long long bytes);
