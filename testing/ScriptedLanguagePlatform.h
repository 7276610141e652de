// A desktop system's recognisers that say what a test told them to.
#pragma once

#include "text/platform/CBasicLanguagePlatform.h"

#include <string>
#include <tuple>
#include <vector>

/// The answers are plain fields, set before the code under test runs; `mTrace` has what was asked.
class ScriptedLanguagePlatform final : public CBasicLanguagePlatform
{
public:
    bool IsPreferenceTrue(char const* const* suites, size_t count, char const* key) const override
    {
        mTrace.push_back("preference " + std::string(key));
        mSuites.assign(suites, suites + count);
        return mPreference;
    }

    bool IsSystemAtLeast(LanguageSystemVersion const& version) const override
    {
        return std::tie(mVersion.mMajor, mVersion.mMinor, mVersion.mPatch) >=
               std::tie(version.mMajor, version.mMinor, version.mPatch);
    }

    void* MakeRecognizer() override
    {
        mTrace.push_back("make");
        return &mRecognizer;
    }

    bool AskRecognizer(void* recognizer,
                       char16_t const* text,
                       int length,
                       std::string& language) override
    {
        return Answer(recognizer == &mRecognizer ? "recognizer" : "stranger", text, length,
                      language);
    }

    bool AskTagger(char16_t const* text, int length, std::string& language) override
    {
        return Answer("tagger", text, length, language);
    }

    bool AskTokenizer(char16_t const* text, int length, std::string& language) override
    {
        return Answer("tokenizer", text, length, language);
    }

    bool mPreference = false;
    LanguageSystemVersion mVersion{11, 0, 0};
    /// What every recogniser answers; null for nothing.
    char const* mLanguage = nullptr;

    /// "preference KEY", "make", "recognizer", "tagger", "tokenizer", in the order of the calls.
    mutable std::vector<std::string> mTrace;
    mutable std::vector<std::string> mSuites;
    /// What the last recogniser was given.
    std::u16string mText;

private:
    bool Answer(char const* who, char16_t const* text, int length, std::string& language)
    {
        mTrace.emplace_back(who);
        mText.assign(text, static_cast<size_t>(length));
        if (!mLanguage) return false;
        language = mLanguage;
        return true;
    }

    char mRecognizer = 0;
};
