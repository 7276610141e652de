#include "testing/StTempDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

StTempDir::StTempDir()
{
    std::string pattern = (fs::canonical(fs::temp_directory_path()) / "loam-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed: " + pattern);
    mPath = pattern;
}

StTempDir::~StTempDir()
{
    std::error_code ignored;
    for (fs::recursive_directory_iterator
             entry(mPath, fs::directory_options::skip_permission_denied, ignored),
         end;
         entry != end; entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(mPath, ignored);
}

std::u16string StTempDir::Path16() const
{
    return fs::path(mPath).u16string();
}

std::u16string StTempDir::Path16(std::string const& name) const
{
    return fs::path(Path(name)).u16string();
}

std::string StTempDir::Write(std::string const& name, std::string const& content) const
{
    fs::path const path = Path(name);
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
    return path.string();
}

std::string StTempDir::MakeFolder(std::string const& name) const
{
    fs::create_directories(Path(name));
    return Path(name);
}

std::string StTempDir::Read(std::string const& name) const
{
    std::ifstream file(Path(name), std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + Path(name));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool StTempDir::Has(std::string const& name) const
{
    return fs::exists(fs::symlink_status(Path(name)));
}
