// What tells the language of a text: the interface of all recognisers.
#pragma once

#include "foundation/LoamExport.h"

#include <string>
#include <vector>

class CFileSpec;

/// Nothing here throws but for want of memory. A text whose language can't be told gets an empty
/// name and a confidence that `CLanguageServices` explains. One object serves one thread at a time.
class LOAM_EXPORT CLanguageServicesBase
{
public:
    CLanguageServicesBase() = default;
    CLanguageServicesBase(CLanguageServicesBase const&) = delete;
    CLanguageServicesBase& operator=(CLanguageServicesBase const&) = delete;

    // The virtual operations keep this order; new ones go last.
    virtual ~CLanguageServicesBase();

    /// Makes the languages known that `folder` has profiles of, or that are to be told at all;
    /// `languages`, if not null, names those that are wanted.
    virtual void LoadLanguageDefinitions(CFileSpec const& folder,
                                         std::vector<std::string> const* languages) = 0;

    /// Replaces `language` and `confidence`. `text` is UTF-8, `length` in bytes; a negative one is
    /// that of an empty text, but on Linux -1 means up to the NUL.
    virtual void
    IdentifyLanguage(std::string const& text, std::string& language, float& confidence);
    virtual void
    IdentifyLanguage(char const* text, int length, std::string& language, float& confidence);
    /// The same for UTF-16 in the processor's byte order, `length` in units, negative for an empty
    /// text. A lone surrogate counts as U+FFFD on Linux.
    virtual void
    IdentifyLanguage(std::u16string const& text, std::string& language, float& confidence);
    virtual void IdentifyLanguage(char16_t const* text,
                                  int length,
                                  std::string& language,
                                  float& confidence) = 0;
};
