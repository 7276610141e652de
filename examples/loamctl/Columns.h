// What a store says about a document besides its text.
#pragma once

#include <string>

class CDocument;
class CLanguageServices;

struct Columns
{
    std::string mCharset;   ///< empty if that isn't known
    std::string mLanguage;  ///< empty if that isn't known
};

/// The columns of a document that was read and is a text. `languages` may be null.
Columns ColumnsOf(CDocument const& document, CLanguageServices* languages);
