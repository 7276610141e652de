#include "loamctl/Columns.h"

#include "loamctl/CDocument.h"
#include "loamctl/Languages.h"

namespace {

// As its standard calls it, without a word on its mark.
std::string CharsetOf(CDocument const& document)
{
    switch (document.GetKind()) {
    case CDocument::Kind::kEmpty:
        return "";
    case CDocument::Kind::kUTF8WithMark:
        return "UTF-8";
    default:
        return document.GetKindName();
    }
}

}  // namespace

Columns ColumnsOf(CDocument const& document, CLanguageServices* languages)
{
    Columns columns;
    columns.mCharset = CharsetOf(document);
    if (languages) columns.mLanguage = LanguageOf(document.GetText(), *languages).mName;
    return columns;
}
