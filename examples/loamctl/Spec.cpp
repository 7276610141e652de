#include "loamctl/Spec.h"

#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "files/CFileSpec.h"
#include "loamctl/CNewFile.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "marl/HierarchicalException.h"
#include "system/CDateTimeServices.h"

namespace {

constexpr char const* kNotes =
    R"(A path is taken from the working folder on, and need not exist: what its text alone tells
is told all the same. Dates are in UTC.)";

struct SpecOptions
{
    std::vector<std::string> mPaths;
};

// In the order in which they are told.
class CFacts
{
public:
    // `text` is what people get to see. Its key's underscores are blanks for them.
    void Add(char const* key, nlohmann::ordered_json value, std::string text)
    {
        mFacts.push_back({key, std::move(value), std::move(text)});
    }

    void AddText(char const* key, std::string const& text)
    {
        if (!text.empty()) Add(key, text, SafeName(text));
    }

    void AddYesNo(char const* key, bool value) { Add(key, value, value ? "yes" : "no"); }

    void AddBytes(char const* key, long long bytes)
    {
        Add(key, bytes, fmt::format("{} ({})", Grouped(bytes), SizeForPeople(bytes)));
    }

    // What throws is left out: it isn't known of what isn't there.
    template <class Question>
    void Try(Question const& question)
    {
        try {
            question();
        } catch (HierarchicalException const&) {
        }
    }

    void Show(COutput& output) const
    {
        if (output.IsJSON()) {
            nlohmann::ordered_json object{{"type", "spec"}};
            for (Fact const& fact : mFacts)
                object[fact.mKey] = fact.mValue;
            output.AddJSON(object);
            return;
        }
        for (Fact const& fact : mFacts) {
            std::string name = fact.mKey;
            for (char& c : name)
                c = c == '_' ? ' ' : c;
            output.Add(output.Painted(COutput::Style::kPlace, fmt::format("{:<21}", name)));
            output.Add(fact.mText);
            output.EndLine();
        }
    }

private:
    struct Fact
    {
        char const* mKey;
        nlohmann::ordered_json mValue;
        std::string mText;
    };

    std::vector<Fact> mFacts;
};

std::string PathOf(CFileSpec const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    return path;
}

// From the root on, so that it has a container, and without a slash behind it, so that it has a
// name.
CFileSpec SpecOf(std::string const& argument)
{
    std::string path = PathOf(SpecOfArgument(argument));
    if (!path.starts_with('/')) path = (std::filesystem::current_path() / path).string();
    while (path.size() > 1 && (path.ends_with('/') || path.ends_with("/.")))
        path.pop_back();
    return SpecOfArgument(path);
}

char const* KindOf(CFileSpec const& spec)
{
    if (spec.IsAlias()) return "alias";
    if (!spec.Exist()) return "nothing";
    if (spec.IsDiskImage()) return "disk image";
    if (spec.IsRealFile(false)) return "file";
    if (!spec.IsFolder(false)) return "other";
    if (spec.IsVolume()) return "volume";
    return spec.IsOpaqueFolder() ? "package" : "folder";
}

void AddParts(CFileSpec const& spec, CFacts& facts)
{
    std::string text;
    facts.AddText("path", PathOf(spec));
    spec.GetFileName8bit(&text);
    facts.AddText("name", text);
    spec.GetDisplayFileName(&text);
    facts.AddText("display_name", text);
    spec.GetExtension8bit(&text);
    facts.AddText("extension", text);
    CFileSpec around;
    if (spec.GetContainer(&around)) facts.AddText("folder", PathOf(around));
    spec.GetVolume(&around);
    facts.AddText("volume", PathOf(around));
}

// A four-character code as its text, where that can be read.
std::string CodeText(unsigned int code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        char const c = static_cast<char>(code >> shift & 0xFF);
        if (c < ' ' || c > '~') return fmt::format("0x{:08X}", code);
        text += c;
    }
    return text;
}

void AddKind(CFileSpec const& spec, CFacts& facts)
{
    facts.AddText("kind", KindOf(spec));
    std::string identifier;
    spec.GetUTI(&identifier);
    facts.AddText("type_identifier", identifier);
    unsigned int type = 0;
    unsigned int creator = 0;
    spec.GetFileTypeCreator(&type, &creator);
    if (type != 0) facts.AddText("file_type", CodeText(type));
    if (creator != 0) facts.AddText("creator", CodeText(creator));
    if (!spec.IsAlias()) return;
    CFileSpec target(spec);
    target.ResolveAlias();
    facts.AddText("leads_to", PathOf(target));
}

// Nothing of a time that no calendar reaches, as file systems may hold it.
std::string DateText(long time)
{
    std::tm fields{};
    CDateTimeServices::GetDateTimeServices()->ConvertToTMUTC(time, fields);
    if (fields.tm_mday == 0) return {};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", fields.tm_year + 1900L,
                       fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min,
                       fields.tm_sec);
}

void AddSizeAndDates(CFileSpec const& spec, CFacts& facts)
{
    if (spec.IsRealFile()) facts.Try([&] { facts.AddBytes("bytes", spec.GetFileSize()); });
    // A link to nothing was made at some time, where the file system keeps that, and has no other
    // date. Of anything else all are there, or none.
    facts.Try([&] {
        facts.AddText("created", DateText(spec.GetFileCreationDateUTC()));
        facts.AddText("modified", DateText(spec.GetFileModifDateUTC()));
        facts.AddText("attributes_modified", DateText(spec.GetFileAttributesModifDateUTC()));
        facts.AddText("accessed", DateText(spec.GetFileAccessDateUTC()));
    });
}

void AddAttributes(CFileSpec const& spec, CFacts& facts)
{
    unsigned int const label = spec.GetFileLabel();
    facts.Add("label", label, label == 0 ? "none" : fmt::format("{}", label));
    facts.AddYesNo("visible", spec.IsVisible());
    facts.AddYesNo("package", spec.IsOpaqueFolder());
    facts.AddYesNo("alias", spec.IsAlias());
    facts.AddYesNo("disk_image", spec.IsDiskImage());
    facts.AddYesNo("other_forks", spec.HasOtherThanDFork());
    facts.AddYesNo("readable", spec.Readable());
    facts.AddYesNo("writeable", spec.Writeable());
}

void AddVolume(CFileSpec const& spec, CFacts& facts)
{
    std::string mountPoint;
    std::string image;
    std::string server;
    std::string fileSystem;
    bool isNetwork = false;
    CFileSpec::VolumeType medium = CFileSpec::cVolumeUnknown;
    spec.GetVolumeInfo(mountPoint, image, server, fileSystem, isNetwork, medium);
    facts.AddText("mounted_at", mountPoint);
    facts.AddText("file_system", fileSystem);
    facts.AddText("image", image);
    facts.AddText("server", server);
    if (!mountPoint.empty()) facts.AddYesNo("network", isNetwork);
    if (medium == CFileSpec::cVolumeRotational) facts.AddText("medium", "rotational");
    if (medium == CFileSpec::cVolumeSolidState) facts.AddText("medium", "solid state");
    facts.Try([&] {
        facts.AddBytes("disk_bytes", spec.GetDiskCapacity());
        facts.AddBytes("disk_free_bytes", spec.GetAvailableDiskSpace());
    });
}

// 0; 1 if nothing is at one of the paths.
int Tell(SpecOptions const& options, Session& session)
{
    int code = 0;
    COutput& output = session.mOutput;
    for (std::string const& path : options.mPaths) {
        CFileSpec const spec = SpecOf(path);
        CFacts facts;
        AddParts(spec, facts);
        AddKind(spec, facts);
        AddSizeAndDates(spec, facts);
        AddAttributes(spec, facts);
        AddVolume(spec, facts);
        if (&path != &options.mPaths.front() && !output.IsJSON()) output.EndLine();
        facts.Show(output);
        if (!spec.IsAlias() && !spec.Exist()) code = 1;
    }
    return code;
}

}  // namespace

Command AddSpec(CArguments program)
{
    CArguments spec = program.AddCommand("spec", "Tell what is known of files and folders");
    auto const options = std::make_shared<SpecOptions>();
    spec.Add("PATH", options->mPaths, "Of any number of files and folders").Required();
    spec.SetNotes(kNotes);
    return {spec, [options](Session& session) { return Tell(*options, session); }};
}
