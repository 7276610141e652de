#include "files/CFileSpecIterator.h"

#include "files/CFileSpecIteratorImp.h"

CFileSpecIterator::CFileSpecIterator(CFileSpec const& folder)
    : mImp(new CFileSpecIteratorImp(folder))
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
