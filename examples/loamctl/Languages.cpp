#include "loamctl/Languages.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

#include "files/CFileSpec.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"

namespace {

constexpr std::size_t kSampleSize = std::size_t{256} * 1024;
constexpr char16_t kProbe[] = u"All human beings are born free and equal.";

// Systems without such a link have recognisers of their own and need no profiles.
std::filesystem::path ProgramFolder()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

CFileSpec ProfileFolder(std::string const& asked)
{
    if (!asked.empty()) return CFileSpec(asked, false);
    std::filesystem::path const program = ProgramFolder();
    for (char const* const place : {"languages", "../share/loam/languages"}) {
        CFileSpec const folder((program / place).string(), false);
        if (folder.IsFolder()) return folder;
    }
    return {};
}

}  // namespace

std::unique_ptr<CLanguageServices> NewLanguageServices(std::string const& folder)
{
    auto services = std::make_unique<CLanguageServices>();
    services->LoadLanguageDefinitions(ProfileFolder(folder), nullptr);
    // The library loads without a word. Any text has a language where there are profiles.
    Language probe;
    services->IdentifyLanguage(std::u16string(kProbe), probe.mName, probe.mConfidence);
    if (!probe.mName.empty()) return services;
    throw CUsageError(folder.empty()
                          ? "there are no language profiles here; name their folder by --profiles"
                          : fmt::format("{}: no language profile is there", SafeName(folder)));
}

Language LanguageOf(std::u16string_view text, CLanguageServices& services)
{
    Language found;
    int const length = static_cast<int>(std::min(text.size(), kSampleSize));
    services.IdentifyLanguage(text.data(), length, found.mName, found.mConfidence);
    // No n-gram of it is in any profile.
    if (std::isnan(found.mConfidence)) return {};
    return found;
}
