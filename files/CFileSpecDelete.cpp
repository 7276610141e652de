// What deletes is a file's business; a specifier hands it on.
#include "files/CFile.h"
#include "files/CFileSpec.h"

void CFileSpec::MoveToTrash()
{
    CFile(*this).MoveToTrash();
}

void CFileSpec::Delete()
{
    CFile(*this).Delete();
}

void CFileSpec::DeleteOrTrash() const
{
    CFile(*this).DeleteOrTrash();
}

void CFileSpec::DeleteOrTrashWithoutError() const
{
    CFile(*this).DeleteOrTrashWithoutError();
}
