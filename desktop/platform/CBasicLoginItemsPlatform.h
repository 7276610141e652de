// The user's login items: the list of what opens at log-in.
//
// Operations ask one question or give one order, never throw and decide nothing. Statuses are the
// system's numbers, 0 for success. Nothing locks the list: another program may change it between
// two operations. Each may block while the process that keeps the list answers, or is started.
#pragma once

#include <optional>
#include <string>
#include <vector>

/// One item, as far as it can be told.
struct LoginItem
{
    std::optional<std::u16string> mName;  ///< of the item's file, the last component of its URL
    std::optional<std::u16string> mPath;  ///< where the item's file is, as a POSIX path
};

class CBasicLoginItemsPlatform
{
public:
    CBasicLoginItemsPlatform() = default;
    CBasicLoginItemsPlatform(CBasicLoginItemsPlatform const&) = delete;
    CBasicLoginItemsPlatform& operator=(CBasicLoginItemsPlatform const&) = delete;
    virtual ~CBasicLoginItemsPlatform() = default;

    /// Copies the list, in its order, into `items`, which is empty. It stays so on failure.
    virtual int CopyItems(std::vector<LoginItem>& items) = 0;

    /// The name of the file at `path`, read as a path of an item is. False if there is none.
    virtual bool GetFileName(std::u16string const& path, std::u16string& name) = 0;

    /// Takes out the item at `index`, counted from 0.
    virtual int RemoveItem(long index) = 0;

    /// Puts the file at `path` to the end of the list, as an item that opens hidden. False, and
    /// `status` as it was, if no URL can be made of the path.
    virtual bool AddHiddenItem(std::u16string const& path, int& status) = 0;
};
