#include "loamctl/LineView.h"

#include <algorithm>

#include "text/CUnicodeCategoryTable.h"

namespace {

// A place where a line may be cut: neither inside a surrogate pair nor in front of a mark.
bool IsCut(std::u16string_view text, std::size_t at)
{
    unsigned int ignored = 0;
    bool const low = (text[at] & 0xFC00) == 0xDC00;
    return !low &&
           !CUnicodeCategoryTable::GetNSMTable()->FindFirstOfCategory(text.data() + at, 1, ignored);
}

}  // namespace

Span ViewOfLine(std::u16string_view text, Span line, Span hit, std::size_t limit)
{
    if (limit == 0 || line.mEnd - line.mStart <= limit) return line;

    // A quarter of the room goes to what stands before the hit, unless the line ends sooner.
    std::size_t const before = std::min(hit.mStart - line.mStart, limit / 4);
    Span view{hit.mStart - before, std::min(line.mEnd, hit.mStart - before + limit)};
    if (view.mEnd - view.mStart < limit) view.mStart = line.mEnd - limit;

    while (view.mStart > line.mStart && view.mStart < hit.mStart && !IsCut(text, view.mStart)) {
        ++view.mStart;
    }
    while (view.mEnd < line.mEnd && view.mEnd > hit.mStart + 1 && !IsCut(text, view.mEnd)) {
        --view.mEnd;
    }
    return view;
}
