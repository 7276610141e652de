// Where language profiles are, and a recogniser that has them loaded.
#pragma once

#include <memory>
#include <string>

#include "text/CLanguageServices.h"

/// A recogniser of the caller's own, for one thread. On Linux it has the profiles of `folder`, and
/// if that is empty those that come with loamctl: `languages` beside the program, or
/// `../share/loam/languages` from there. Throws `CUsageError` if there are none.
std::unique_ptr<CLanguageServices> NewLanguageServices(std::string const& folder);

/// What a recogniser says of a text.
struct Language
{
    std::string mName;      ///< empty if the text has none
    float mConfidence = 0;  ///< 0 to 1
};

/// Of a long text, 256 K units are looked at.
Language LanguageOf(std::u16string_view text, CLanguageServices& services);
