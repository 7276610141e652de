#include "loamctl/Columns.h"

#include "loamctl/CDocument.h"
#include "loamctl/Languages.h"

Columns ColumnsOf(CDocument const& document, CLanguageServices* languages)
{
    Columns columns;
    columns.mCharset = document.IsUTF16() ? "UTF-16" : "UTF-8";
    if (languages) columns.mLanguage = LanguageOf(document.GetText(), *languages).mName;
    return columns;
}
