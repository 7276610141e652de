// What a store says about a document besides its text.
#pragma once

#include <string>

class CDocument;

struct Columns
{
    std::string mCharset;   ///< empty if that isn't known
    std::string mLanguage;  ///< empty if that isn't known
};

/// The columns of a document that was read and is a text.
Columns ColumnsOf(CDocument const& document);
