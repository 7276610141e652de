// Specifiers in a binary stream: one string, the path, whole or without the folder that it is in.
#include "files/CFileSpec.h"
#include "files/CFileSpecImp.h"
#include "marl/basic_binstream.h"

#include <utility>

namespace {

std::u16string PrefixOf(CFileSpec const& base)
{
    std::u16string prefix;
    base.GetFullPath(&prefix);
    if (prefix.empty() || prefix.back() != u'/') prefix += u'/';
    return prefix;
}

}  // namespace

void CFileSpecImp::WriteToStream(basic_binstream& stream) const
{
    stream << mPath;
}

// Kept on purpose, in both readings: what was read from the file system at the old path stays until
// SetupFromFile.
void CFileSpecImp::ReadFromStream(basic_binstream& stream)
{
    stream >> mPath;
}

void CFileSpecImp::WriteToStream(basic_binstream& stream, CFileSpec const& base) const
{
    std::u16string const prefix = PrefixOf(base);
    bool const isInside =
        mPath.size() > prefix.size() && mPath.compare(0, prefix.size(), prefix) == 0;
    stream << (isInside ? mPath.substr(prefix.size()) : mPath);
}

void CFileSpecImp::ReadFromStream(basic_binstream& stream, CFileSpec const& base)
{
    std::u16string path;
    stream >> path;
    // Kept on purpose: a rest that begins with "/" was written without its base, and is read as a
    // whole path.
    if (!path.empty() && path.front() != u'/') path.insert(0, PrefixOf(base));
    mPath = std::move(path);
}

basic_binstream& operator<<(basic_binstream& stream, CFileSpec const& spec)
{
    spec.GetImp()->WriteToStream(stream);
    return stream;
}

basic_binstream& operator>>(basic_binstream& stream, CFileSpec& spec)
{
    spec.GetImp()->ReadFromStream(stream);
    return stream;
}
