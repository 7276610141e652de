// A type platform that knows what a test told it, with a trace of what it was asked.
#pragma once

#include "desktop/platform/CBasicTypePlatform.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// A question is "extension txt", "package rtfd" (the same with `ofPackage`) or "type 54455854" (in
/// hexadecimal). Answers are set before the code under test runs; any thread may ask.
class ScriptedTypePlatform final : public CBasicTypePlatform
{
public:
    std::u16string GetTypeForExtension(std::u16string const& extension,
                                       bool ofPackage) const override
    {
        std::string text;
        CUTFConverter::ConvertUTF16toUTF8(extension, text, CUTFConverter::kLenientMode);
        return Answer((ofPackage ? "package " : "extension ") + text);
    }

    std::u16string GetTypeForFileType(unsigned int fileType) const override
    {
        char text[16];
        std::snprintf(text, sizeof text, "type %08X", fileType);
        return Answer(text);
    }

    /// What was asked so far, in this order.
    std::vector<std::string> GetQuestions() const
    {
        std::lock_guard<std::mutex> const lock(mMutex);
        return mQuestions;
    }

    /// By question. None for the others.
    std::map<std::string, std::u16string> mAnswers;
    /// Called in the middle of each question.
    std::function<void()> mMeanwhile = [] {};
    /// The most threads that were in the middle of one at a time.
    mutable std::atomic<int> mMostAtATime{0};

private:
    std::u16string Answer(std::string const& question) const
    {
        int const inside = ++mInside;
        mMostAtATime = std::max(mMostAtATime.load(), inside);
        {
            std::lock_guard<std::mutex> const lock(mMutex);
            mQuestions.push_back(question);
        }
        mMeanwhile();
        --mInside;
        auto const found = mAnswers.find(question);
        return found == mAnswers.end() ? std::u16string() : found->second;
    }

    mutable std::mutex mMutex;
    mutable std::vector<std::string> mQuestions;  // guarded by mMutex
    mutable std::atomic<int> mInside{0};
};
