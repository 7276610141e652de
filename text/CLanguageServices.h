// Names the language of a text.
//
//     CLanguageServices* const services = CLanguageServices::GetLanguageServices();
//     services->LoadLanguageDefinitions(CFileSpec(u"/usr/share/loam/languages", false), nullptr);
//     services->IdentifyLanguage(text, language, confidence);
//
// On Linux languages are told by the profiles that were loaded, files that end in ".lm": names are
// those that the profiles give, and the confidence says how far the second best language is behind,
// from 0 to 1; it is NaN where no language fits, as for an empty text, and 0 with an empty name
// where no profiles are loaded. On macOS the system tells them, as BCP 47 tags, with a confidence
// of 1, or of 0 and an empty name where it can't; loading only says which languages may be told.
//
// A profile is a text file of n-grams of bytes, at most 6 each, and their weights: lines such as
// "e_", a tab and "3456", where "_" stands for a blank, with the lines "Language: de" and "Charset:
// utf-8". Profiles come with Loam; `loamctl lang-train` makes others.
#pragma once

#include "foundation/LoamExport.h"
#include "text/CLanguageServicesBase.h"

#include <atomic>
#include <string>
#include <vector>

/// The process's recogniser. Any thread may call the getter, which takes no lock; all else serves
/// one thread at a time. An object of a caller's own has languages of its own.
class LOAM_EXPORT CLanguageServices
{
public:
    CLanguageServices();
    CLanguageServices(CLanguageServices const&) = delete;
    CLanguageServices& operator=(CLanguageServices const&) = delete;
    ~CLanguageServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CLanguageServices* GetLanguageServices();

    /// Linux: loads the profiles in `folder`, which takes the place of all loaded before, and with
    /// `languages` only those whose file's name, up to its first dot, occurs in the `languages` put
    /// in a row, be it inside another name ("no" in "nno"). Silent if there is no such folder. Each
    /// profile takes 64 KB, and 16 KB more from the first text on.
    /// macOS: only `languages` are told from now on, compared whole; null lifts that.
    void LoadLanguageDefinitions(CFileSpec const& folder, std::vector<std::string> const* languages)
    {
        mImp->LoadLanguageDefinitions(folder, languages);
    }

    /// Replaces `language` and `confidence`. UTF-8, `length` in bytes; malformed text counts as
    /// empty on macOS and is taken as it is on Linux, where less than 16 KB are held meanwhile.
    void IdentifyLanguage(std::string const& text, std::string& language, float& confidence)
    {
        mImp->IdentifyLanguage(text, language, confidence);
    }

    void IdentifyLanguage(char const* text, int length, std::string& language, float& confidence)
    {
        mImp->IdentifyLanguage(text, length, language, confidence);
    }

    /// The same for UTF-16 in the processor's byte order, `length` in units. On Linux it becomes
    /// UTF-8 first, with at most 4 bytes for each unit.
    void IdentifyLanguage(std::u16string const& text, std::string& language, float& confidence)
    {
        mImp->IdentifyLanguage(text, language, confidence);
    }

    void
    IdentifyLanguage(char16_t const* text, int length, std::string& language, float& confidence)
    {
        mImp->IdentifyLanguage(text, length, language, confidence);
    }

    CLanguageServicesBase* mImp;  // owned

private:
    static std::atomic<CLanguageServices*> sLanguageServices;
};
