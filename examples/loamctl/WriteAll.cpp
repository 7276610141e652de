#include "loamctl/WriteAll.h"

#include <cerrno>
#include <climits>

#include <sys/stat.h>
#include <unistd.h>

#include "loamctl/Interruption.h"

namespace {

bool IsRegularFile(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// The whole lines at the start of `text` that a pipe takes all at once or not at all; where the
// first line is longer, as much of it.
std::string_view FirstPiece(std::string_view text)
{
    if (text.size() <= PIPE_BUF) return text;
    std::string_view const piece = text.substr(0, PIPE_BUF);
    std::size_t const end = piece.rfind('\n');
    return end == piece.npos ? piece : piece.substr(0, end + 1);
}

}  // namespace

int WriteAll(int descriptor, std::string_view text)
{
    bool const blocks = !IsRegularFile(descriptor);
    while (!text.empty()) {
        std::string_view const piece = blocks ? FirstPiece(text) : text;
        ssize_t const count = write(descriptor, piece.data(), piece.size());
        int const error = errno;
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (error != EINTR || IsInterrupted()) {
            return error;
        }
    }
    return 0;
}
