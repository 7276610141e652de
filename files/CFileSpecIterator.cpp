#include "files/CFileSpecIterator.h"

#include "desktop/CFileSpecIteratorMacOSX.h"

CFileSpecIterator::CFileSpecIterator(CFileSpec const& folder)
    : mImp(new CFileSpecIteratorMacOSX(folder))
{
}

CFileSpecIterator::~CFileSpecIterator()
{
    delete mImp;
}

bool CFileSpecIterator::Next(CFileSpec* result)
{
    return mImp->Next(result);
}
