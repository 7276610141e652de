#include "loamctl/CAnswerer.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "loamctl/CPlaceCounter.h"
#include "loamctl/CSearch.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Reading.h"
#include "marl/HierarchicalException.h"
#include "net/CNetConnection.h"

namespace {

// Seconds that a client may say nothing, and may take nothing.
constexpr unsigned int kPatience = 300;
constexpr unsigned int kSendPatience = 30;

OutputOptions AsJSON()
{
    OutputOptions options;
    options.mJSON = true;
    return options;
}

// The one thing at `path`.
TreeEntry EntryAt(std::string const& path)
{
    TreeEntry entry;
    CTreeWalk({path}, false).Next(entry);
    return entry;
}

}  // namespace

CAnswerer::CAnswerer(CNetConnection& connection, std::string root)
    : mConnection(connection)
    , mRoot(std::move(root))
    , mOutput(AsJSON(), *this)
{
}

void CAnswerer::Run()
{
    std::string line;
    do {
        ThrowIfInterrupted();
        mConnection.ReceiveLine(&line, kPatience, kLongestLine);
        if (line.size() > kLongestLine) {
            // What follows is the rest of it.
            Refuse("the line is too long");
            return;
        }
    } while (Answer(line));
}

void CAnswerer::Refuse(std::string const& reason)
{
    mOutput.AddJSON({{"type", "error"}, {"reason", reason}});
    mOutput.Flush();
}

// False if the client wants no more.
bool CAnswerer::Answer(std::string const& line)
{
    struct
    {
        std::string_view mVerb;
        void (CAnswerer::*mAnswer)(std::string const&);
    } const questions[] = {
        {"search", &CAnswerer::Search},
        {"words", &CAnswerer::ListWords},
        {"facts", &CAnswerer::TellFacts},
    };

    std::size_t const blank = line.find(' ');
    std::string_view const verb = std::string_view(line).substr(0, blank);
    if (verb.empty()) return true;
    if (verb == "quit") {
        mOutput.AddJSON({{"type", "end"}});
        mOutput.Flush();
        return false;
    }
    for (auto const& question : questions) {
        if (question.mVerb != verb) continue;
        try {
            (this->*question.mAnswer)(blank == std::string::npos ? "" : line.substr(blank + 1));
            mOutput.AddJSON({{"type", "end"}});
            mOutput.Flush();
        } catch (CUsageError const& error) {
            Refuse(error.what());
        }
        return true;
    }
    Refuse("unknown question: search WORD, words PATH, facts PATH or quit");
    return true;
}

void CAnswerer::Search(std::string const& word)
{
    SearchOptions options;
    options.mWord = word;
    options.mMaxColumns = 240;
    CSearch search(options);
    TreeEntry entry;
    for (CTreeWalk walk({}, false); walk.Next(entry);) {
        ThrowIfInterrupted();
        search.Work(entry, mOutput);
    }
}

void CAnswerer::ListWords(std::string const& path)
{
    Reading const reading = ReadEntry(EntryAt(PathInRoot(path)), mDocument);
    if (!reading.mText)
        throw CUsageError(reading.mReason.empty() ? "not a document" : reading.mReason);
    CPlaceCounter starts(mDocument);
    CPlaceCounter ends(mDocument);
    for (CWordWalk words(mDocument.GetText(), mBlock); words.Next();) {
        ThrowIfInterrupted();
        Place const& start = starts.At(words.GetSpan().mStart);
        long long const length = ends.At(words.GetSpan().mEnd).mOffset - start.mOffset;
        mOutput.AddJSON({{"type", "word"},
                         {"word", ToUTF8(words.GetWord())},
                         {"offset", start.mOffset},
                         {"length", length},
                         {"line", start.mLine},
                         {"column", start.mColumn}});
    }
}

void CAnswerer::TellFacts(std::string const& path)
{
    TreeEntry const entry = EntryAt(PathInRoot(path));
    Reading const reading = ReadEntry(entry, mDocument);
    nlohmann::ordered_json object{
        {"type", "entry"}, {"path", entry.mPath}, {"kind", reading.mKind}};
    if (reading.mSize >= 0) object["bytes"] = reading.mSize;
    if (!reading.mReason.empty()) object[reading.mError ? "error" : "skipped"] = reading.mReason;
    mOutput.AddJSON(object);
}

// The path below the root, free of links. One that leads out is told as one that isn't there, so
// that nothing is learnt of what is outside.
std::string CAnswerer::PathInRoot(std::string const& path) const
{
    namespace fs = std::filesystem;
    std::error_code error;
    // With a zero byte in it, another file would be looked at than is named.
    fs::path const whole =
        path.find('\0') == std::string::npos ? fs::canonical(fs::path(mRoot) / path, error) : "";
    fs::path const root(mRoot);
    auto const [end, unused] = std::mismatch(root.begin(), root.end(), whole.begin(), whole.end());
    if (error || whole.empty() || end != root.end()) throw CUsageError("no such file or folder");
    return whole.lexically_relative(root).string();
}

void CAnswerer::Write(std::string_view lines)
{
    while (!lines.empty()) {
        ThrowIfInterrupted();
        auto const part = static_cast<unsigned int>(std::min<std::size_t>(lines.size(), 1 << 20));
        lines.remove_prefix(mConnection.SendData(lines.data(), part, kSendPatience));
    }
}

// All that a client gets is in the answer.
void CAnswerer::WriteError(std::string_view) {}

void CAnswerer::BeginGroup() {}
