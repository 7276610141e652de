#include "foundation/CFileExceptionHandler.h"

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"

void CFileExceptionHandler::ThrowFileException(int error,
                                               int operation,
                                               std::string const& path) const
{
    if (error == 0) return;
    throw HierarchicalException(kFileDomain, FileCategoryOf(error), operation, error, path);
}

void CFileExceptionHandler::ThrowFileException(int error,
                                               int operation,
                                               std::u16string const& path) const
{
    if (error == 0) return;
    std::string path8bit;
    CUTFConverter::ConvertUTF16toUTF8(path, path8bit, CUTFConverter::kLenientMode);
    ThrowFileException(error, operation, path8bit);
}
