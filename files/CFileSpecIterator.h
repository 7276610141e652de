// The entries of one folder, one at a time.
//
//     CFileSpecIterator entries(folder);
//     for (CFileSpec entry; entries.Next(&entry);) ...
//
// Hidden entries come too, "." and ".." don't; the order is the system's. Entries are paths of
// `folder` with a "/" and the name added, so a path that ends with "/" gives a doubled one, unless
// it is the root. An entry whose name isn't UTF-8 is passed over: no path could lead to it. A
// folder that changes meanwhile may show an entry or not.
//
// The container of all volumes gives the root folders of all mounted volumes instead, as they are
// when the iterator is made.
#pragma once

#include "foundation/LoamExport.h"

class CBasicFileSpecIteratorImp;
class CFileSpec;

class LOAM_EXPORT CFileSpecIterator
{
public:
    /// Opens the folder and keeps one descriptor open for the object's life. A failure comes out at
    /// the first `Next`.
    explicit CFileSpecIterator(CFileSpec const& folder);
    CFileSpecIterator(CFileSpecIterator const&) = delete;
    CFileSpecIterator& operator=(CFileSpecIterator const&) = delete;
    ~CFileSpecIterator();

    /// Points `*result` at the next entry and answers true, or false at the end, which leaves
    /// `*result` alone. Several threads may call, each with a result of its own: each entry goes to
    /// exactly one of them.
    ///
    /// If the folder couldn't be opened, throws `HierarchicalException` of `kFileDomain` with
    /// operation `kFileIterate` for what `errno` holds at this call, and answers false if it holds
    /// 0. So call right after construction, or ask `IsFolder` first. The exception names the path
    /// only if it is a folder's. A failure later on looks like the end.
    bool Next(CFileSpec* result);

private:
    CBasicFileSpecIteratorImp* mImp;  // owned
};
