// Tells languages by what the desktop system offers: the newest recogniser if the user asked for
// it, otherwise the one that the system's version has.
//
// Which one is settled at the first text, for the whole process, and without a lock: the first text
// is looked at before a second thread looks at one.
#pragma once

#include "text/CLanguageServicesBase.h"

#include <atomic>

/// Names are the system's BCP 47 tags. The system tells no likelihood: the confidence is 1 where
/// there is a name and 0 where there is none.
class CLanguageServicesMacOS : public CLanguageServicesBase
{
public:
    /// Whether the user asks for the newest recogniser: a number that is true in the preferences of
    /// one of the hosts.
    static constexpr char kPreferenceKey[] = "UseNaturalLanguageIdentification";
    static constexpr char const* kPreferenceSuites[] = {"org.loam.Loam", "org.loam.LoamAgent",
                                                        "org.loam.loamctl"};

    CLanguageServicesMacOS();
    ~CLanguageServicesMacOS() override;

    /// From now on only `languages` are told, compared whole and as they are written; null lifts
    /// that. `folder` is not looked at.
    void LoadLanguageDefinitions(CFileSpec const& folder,
                                 std::vector<std::string> const* languages) override;

    using CLanguageServicesBase::IdentifyLanguage;
    void IdentifyLanguage(char16_t const* text,
                          int length,
                          std::string& language,
                          float& confidence) override;

    /// Whether `language` is a name that may be told, with `confidence` set to 1. If it isn't, or
    /// is empty or "und", it is emptied and `confidence` is 0.
    virtual bool IsAcceptableLanguage(std::string& language, float& confidence);

    /// Settles the recogniser; does nothing once that is done.
    static void ChooseImplementation();
    /// Has it settled again. For tests.
    static void ForgetImplementation();

private:
    bool Recognize(char16_t const* text, int length, std::string& language);

    bool mIsFiltering = false;
    std::vector<std::string> mAccepted;
    // Owned and, kept on purpose, never released: it lasts as long as the process does.
    void* mRecognizer = nullptr;
};
