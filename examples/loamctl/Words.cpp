#include "loamctl/Words.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/CPlaceCounter.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Reading.h"

namespace {

void ShowWord(std::string const& word, Place const& place, long long length, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "word"},
                        {"word", word},
                        {"offset", place.mOffset},
                        {"length", length},
                        {"line", place.mLine},
                        {"column", place.mColumn}});
        return;
    }
    output.Add(output.Painted(COutput::Style::kHit, SafeName(word)));
    output.Add(fmt::format("\t{}\t{}", place.mOffset, length));
    output.EndLine();
}

}  // namespace

int RunWords(std::string const& path, COutput& output)
{
    CTreeWalk walk({path}, false);
    TreeEntry entry;
    walk.Next(entry);
    CDocument document;
    Reading const reading = ReadEntry(entry, document);
    if (!reading.mText) {
        std::string const& reason = reading.mReason.empty() ? "a folder" : reading.mReason;
        output.Complain(fmt::format("{}: {}", SafeName(path), reason));
        return 2;
    }

    bool any = false;
    CPlaceCounter starts(document);
    CPlaceCounter ends(document);
    amortizedmemblock block(1024, 2.0F, true);
    CWordWalk words(document.GetText(), block);
    while (words.Next()) {
        Span const span = words.GetSpan();
        Place const& start = starts.At(span.mStart);
        ShowWord(ToUTF8(words.GetWord()), start, ends.At(span.mEnd).mOffset - start.mOffset,
                 output);
        any = true;
    }
    return any ? 0 : 1;
}
