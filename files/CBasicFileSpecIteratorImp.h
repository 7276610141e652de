// What walks through the entries of a folder; `CFileSpecIterator` says what `Next` does.
#pragma once

class CFileSpec;

class CBasicFileSpecIteratorImp
{
public:
    CBasicFileSpecIteratorImp() = default;
    CBasicFileSpecIteratorImp(CBasicFileSpecIteratorImp const&) = delete;
    CBasicFileSpecIteratorImp& operator=(CBasicFileSpecIteratorImp const&) = delete;
    virtual ~CBasicFileSpecIteratorImp() = default;

    virtual bool Next(CFileSpec* result) = 0;
};
