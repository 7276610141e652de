#include "loamctl/Columns.h"

#include "loamctl/CDocument.h"

Columns ColumnsOf(CDocument const& document)
{
    return {document.IsUTF16() ? "UTF-16" : "UTF-8", ""};
}
