// How a path is led through the symbolic links on it.
#include "files/CFileSpecImp.h"
#include "text/CUTFConverter.h"

#include <utility>

#include <unistd.h>

namespace {

/// Bytes that a path with a resolved link in it must stay below.
constexpr std::size_t kLinkPathLimit = 1025;

}  // namespace

bool CFileSpecImp::ResolveAliasStep(std::u16string& path) const
{
    std::string link;
    CUTFConverter::ConvertUTF16toUTF8(path, link, CUTFConverter::kLenientMode);
    char target[kLinkPathLimit];
    ssize_t const size = readlink(link.c_str(), target, sizeof target);
    if (size < 1) return false;

    // A relative target takes the place of the last component.
    std::string resolved;
    if (target[0] != '/') resolved.assign(link, 0, link.rfind('/') + 1);
    resolved.append(target, static_cast<std::size_t>(size));
    // A target that fills the buffer may go on behind it, and half a path is another place.
    if (resolved.size() >= kLinkPathLimit) return false;

    std::u16string resolved16;
    if (!CUTFConverter::ConvertUTF8toUTF16(resolved, resolved16, CUTFConverter::kLenientMode))
        return false;
    if (resolved16 == path) return false;
    path = std::move(resolved16);
    return true;
}

// Brent's way of finding a cycle (R. P. Brent, "An improved Monte Carlo factorization algorithm",
// 1980): a mark is put down after 1, 2, 4, ... steps, and whoever comes to it again runs in a
// circle. Chains that end do so as long as they may be.
void CFileSpecImp::ResolveAlias(std::u16string& path)
{
    std::u16string const start = path;
    std::u16string mark = path;
    unsigned long steps = 0;
    unsigned long stepsToMark = 1;
    while (ResolveAliasStep(path)) {
        if (path == mark) {
            path = start;
            return;
        }
        if (++steps == stepsToMark) {
            mark = path;
            steps = 0;
            stepsToMark *= 2;
        }
    }
}

void CFileSpecImp::ResolveAlias()
{
    if (mPath.size() < 2 || mPath.front() != u'/') return;
    std::u16string resolved;
    for (std::u16string::size_type slash = 0; slash != std::u16string::npos;) {
        std::u16string::size_type const next = mPath.find(u'/', slash + 1);
        resolved.append(mPath, slash, next - slash);
        ResolveAlias(resolved);
        slash = next;
    }
    Assign(resolved);
}
