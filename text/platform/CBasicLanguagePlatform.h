// What telling languages needs of the system.
//
// Operations answer one question in plain types, never throw and decide nothing. Text is UTF-16,
// `length` in units. One thread at a time.
#pragma once

#include <cstddef>
#include <string>

class CLanguageServicesBase;

struct LanguageSystemVersion
{
    int mMajor;
    int mMinor;
    int mPatch;
};

class CBasicLanguagePlatform
{
public:
    CBasicLanguagePlatform() = default;
    CBasicLanguagePlatform(CBasicLanguagePlatform const&) = delete;
    CBasicLanguagePlatform& operator=(CBasicLanguagePlatform const&) = delete;
    virtual ~CBasicLanguagePlatform() = default;

    /// Whether the user's preferences, those of the `count` `suites` included, hold a number under
    /// `key` that is true.
    virtual bool
    IsPreferenceTrue(char const* const* suites, size_t count, char const* key) const = 0;

    /// Whether the system is of this version or a later one.
    virtual bool IsSystemAtLeast(LanguageSystemVersion const& version) const = 0;

    /// A new recogniser of the NaturalLanguage framework, which the caller owns; null if there is
    /// none.
    virtual void* MakeRecognizer() = 0;

    // Each asks one recogniser for the language that most of the text is in. True with its tag in
    // `language`; false, and `language` as it was, if there is none.

    /// Of the one that `MakeRecognizer` made, which forgets what it was asked before.
    virtual bool
    AskRecognizer(void* recognizer, char16_t const* text, int length, std::string& language) = 0;
    /// Of the linguistic tagger.
    virtual bool AskTagger(char16_t const* text, int length, std::string& language) = 0;
    /// Of the string tokenizer.
    virtual bool AskTokenizer(char16_t const* text, int length, std::string& language) = 0;
};

/// The platform in use. Any thread may call.
CBasicLanguagePlatform& LanguagePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicLanguagePlatform* NewLanguagePlatform();

/// A new one of the implementations, the one that works on this system; the caller owns it. Defined
/// in the system's file.
CLanguageServicesBase* NewLanguageServices();

/// Puts another platform in use for a scope and has the recogniser settled afresh, at its start and
/// at its end. For tests, while no other thread asks for a language.
class StLanguagePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StLanguagePlatform(CBasicLanguagePlatform& platform);
    StLanguagePlatform(StLanguagePlatform const&) = delete;
    StLanguagePlatform& operator=(StLanguagePlatform const&) = delete;
    ~StLanguagePlatform();

private:
    CBasicLanguagePlatform* mFormer;  // not owned
};
