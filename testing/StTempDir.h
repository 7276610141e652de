// A folder of its own for a test, removed with all that it holds.
#pragma once

#include <string>

/// Made under the system's folder for temporary files. A failure to make it ends the test by an
/// exception.
class StTempDir
{
public:
    StTempDir();
    StTempDir(StTempDir const&) = delete;
    StTempDir& operator=(StTempDir const&) = delete;
    /// Also removes what the test made unreadable.
    ~StTempDir();

    /// The folder's path without a trailing slash, UTF-8, with no link on the way.
    std::string const& Path() const { return mPath; }

    std::u16string Path16() const;

    /// The path of something in the folder, which need not exist.
    std::string Path(std::string const& name) const { return mPath + "/" + name; }

    std::u16string Path16(std::string const& name) const;

    /// Writes a file in the folder, making the folders on its way, and answers its path.
    std::string Write(std::string const& name, std::string const& content) const;
    /// Makes a folder in the folder, with its parents, and answers its path.
    std::string MakeFolder(std::string const& name) const;
    /// The content of a file in the folder.
    std::string Read(std::string const& name) const;
    bool Has(std::string const& name) const;

private:
    std::string mPath;
};
