#include "loamctl/WholeFile.h"

#include <fmt/format.h>

#include "files/CFile.h"
#include "loamctl/CDocument.h"
#include "loamctl/CNewFile.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"

namespace {

constexpr long long kPiece = 65536;

}  // namespace

// The length is a first guess only: files grow, and those of /proc say 0.
std::string ReadWholeFile(std::string const& path)
{
    CFile file(SpecOfArgument(path));
    if (!file.Exist()) throw CUsageError(SafeName(path) + ": isn't there");
    if (!file.GetFileSpec()->IsRealFile(true)) throw CUsageError(SafeName(path) + ": is no file");
    file.Open(CFile::cPrivilegeRead);
    std::string bytes;
    long long size = 0;
    long long room = file.GetLength() + 1;
    while (room <= CDocument::kSizeLimit + 1) {
        bytes.resize(static_cast<std::size_t>(room));
        long long const count = file.Read(bytes.data() + size, room - size);
        size += count;
        if (count == 0) {
            bytes.resize(static_cast<std::size_t>(size));
            return bytes;
        }
        if (size == room) room += room / 2 + kPiece;
    }
    throw CUsageError(
        fmt::format("{}: larger than {} MiB", SafeName(path), CDocument::kSizeLimit >> 20));
}
