#include "loamctl/Log.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "files/CFile.h"
#include "files/CFileSpec.h"
#include "loamctl/COutput.h"
#include "loamctl/CRunLog.h"
#include "loamctl/DisplayText.h"
#include "marl/basic_binstream.h"
#include "system/CLogFile.h"

namespace {

constexpr char const* kNotes =
    R"(Each TEXT becomes a line of the log, in each form there is: without a stamp, with one that
tells seconds, with one that tells milliseconds. What was added is shown.

With the granularity "call" every line begins with its stamp. With another one a stamp stands
on a line of its own, and only where the clock has moved on by so much since the last one.)";

struct LineOptions
{
    std::string mPath;
    std::vector<std::string> mTexts{"loamctl was here"};
    CLogFile::Granularity mGranularity = CLogFile::kGranularityEveryCall;
    std::vector<CLogFile::StampKind> mForms{CLogFile::kNoStamp, CLogFile::kSecondsStamp,
                                            CLogFile::kMilliSecondsStamp};
    long long mMaxSize = -1;  // bytes, as CLogFile takes them
};

void AddLine(CLogFile& log,
             CLogFile::StampKind form,
             CLogFile::Granularity granularity,
             std::string const& line)
{
    switch (form) {
    case CLogFile::kNoStamp:
        log.Log("%s\n", line.c_str());
        break;
    case CLogFile::kSecondsStamp:
        log.TimedLog(granularity, "%s\n", line.c_str());
        break;
    case CLogFile::kMilliSecondsStamp:
        log.MilliTimedLog(granularity, "%s\n", line.c_str());
        break;
    }
}

// What is in the file behind `start`.
std::string ReadFrom(CFileSpec const& spec, long long start)
{
    CFile file(spec);
    file.Open(CFile::cPrivilegeRead);
    file.SetCursorPos(start, basic_binstream::cursor_from_start);
    std::string bytes(static_cast<std::size_t>(file.GetLength() - start), '\0');
    long long const count = file.Read(bytes.data(), static_cast<long long>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

void Show(std::string_view lines, COutput& output)
{
    while (!lines.empty()) {
        std::string_view const line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        if (output.IsJSON()) {
            output.AddJSON({{"type", "line"}, {"text", line}});
        } else {
            output.Add(SafeText(line));
            output.EndLine();
        }
    }
}

// Each form has a log object of its own, since the stamps of one leave out those of another.
int AddLines(LineOptions const& options, COutput& output)
{
    CFileSpec const spec = LogToWrite(options.mPath);
    long long start = -1;
    for (CLogFile::StampKind const form : options.mForms) {
        CLogFile log;
        log.OpenLogFile(spec, start < 0 ? options.mMaxSize : -1);
        if (start < 0) start = static_cast<long long>(spec.GetFileSize());
        for (std::string const& text : options.mTexts)
            AddLine(log, form, options.mGranularity, SafeText(text));
    }
    Show(ReadFrom(spec, start), output);
    return 0;
}

void AddGranularity(CArguments log, LineOptions& options)
{
    std::map<std::string, CLogFile::Granularity> const granularities{
        {"call", CLogFile::kGranularityEveryCall},         {"second", CLogFile::kGranularitySecond},
        {"ten-seconds", CLogFile::kGranularityTenSeconds}, {"minute", CLogFile::kGranularityMinute},
        {"ten-minutes", CLogFile::kGranularityTenMinutes}, {"hour", CLogFile::kGranularityHour},
    };
    log.Add("--granularity", options.mGranularity, granularities,
            "How often: call, second, ten-seconds, minute, ten-minutes or hour")
        .Shown("WHEN");
}

void AddForm(CArguments log, LineOptions& options)
{
    std::map<std::string, CLogFile::StampKind> const forms{
        {"none", CLogFile::kNoStamp},
        {"seconds", CLogFile::kSecondsStamp},
        {"milliseconds", CLogFile::kMilliSecondsStamp},
    };
    log.Add(
           "--stamp",
           [&options, forms](std::string const& name) { options.mForms = {forms.at(name)}; },
           "Only this form: none, seconds or milliseconds")
        .OneOf({"none", "seconds", "milliseconds"})
        .Shown("FORM");
}

}  // namespace

Command AddLog(CArguments program)
{
    CArguments log = program.AddCommand("log", "Add stamped lines to a log");
    auto const options = std::make_shared<LineOptions>();
    log.Add("FILE", options->mPath, "The log").Required();
    log.Add("TEXT", options->mTexts, "What to add, a line each");
    AddGranularity(log, *options);
    AddForm(log, *options);
    log.Add("--max", options->mMaxSize,
            "Cut the log to its newest BYTES before; 0 for an empty one")
        .NotNegative()
        .Shown("BYTES");
    log.SetNotes(kNotes);
    return {log, [options](Session& session) { return AddLines(*options, session.mOutput); }};
}
