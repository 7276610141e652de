// Tells languages by the guesser and its profiles, on any system.
#pragma once

#include "text/CLanguageServicesBase.h"

/// Names are those that the profiles give, the confidence is the guesser's: how far the second best
/// language is behind, NaN where no language fits at all. Without profiles the answer is an empty
/// name and 0.
class CLanguageServicesGeneric : public CLanguageServicesBase
{
public:
    CLanguageServicesGeneric();
    ~CLanguageServicesGeneric() override;

    /// Loads the ".lm" files of `folder`, and forgets those loaded before. With `languages` only
    /// those whose name, up to its first dot, occurs anywhere in the names put in a row with blanks
    /// between. Does nothing if there is no such folder.
    void LoadLanguageDefinitions(CFileSpec const& folder,
                                 std::vector<std::string> const* languages) override;

    using CLanguageServicesBase::IdentifyLanguage;
    void IdentifyLanguage(char const* text,
                          int length,
                          std::string& language,
                          float& confidence) override;
    void IdentifyLanguage(char16_t const* text,
                          int length,
                          std::string& language,
                          float& confidence) override;

private:
    void* mGuesser;  // owned
    bool mIsLoaded = false;
};
