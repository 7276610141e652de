#include "text/CLanguageServicesMacOS.h"

#include "text/platform/CBasicLanguagePlatform.h"

#include <algorithm>
#include <atomic>
#include <iterator>

namespace {

constexpr char kUndetermined[] = "und";

// The systems that first had the recognisers.
constexpr LanguageSystemVersion kNLLanguageRecognizerSystem{10, 14, 0};
constexpr LanguageSystemVersion kNSLinguisticTaggerSystem{10, 13, 0};

std::atomic<bool> sImplementationChosen{false};
std::atomic<bool> sUseNLLanguageRecognizer{false};
std::atomic<bool> sUseNSLinguisticTagger{false};
std::atomic<bool> sUseCFStringTokenizer{false};

}  // namespace

CLanguageServicesMacOS::CLanguageServicesMacOS() = default;

CLanguageServicesMacOS::~CLanguageServicesMacOS() = default;

void CLanguageServicesMacOS::ChooseImplementation()
{
    if (sImplementationChosen) return;
    CBasicLanguagePlatform& platform = LanguagePlatform();
    if (platform.IsPreferenceTrue(kPreferenceSuites, std::size(kPreferenceSuites),
                                  kPreferenceKey) &&
        platform.IsSystemAtLeast(kNLLanguageRecognizerSystem)) {
        sUseNLLanguageRecognizer = true;
    } else if (platform.IsSystemAtLeast(kNSLinguisticTaggerSystem)) {
        sUseNSLinguisticTagger = true;
    } else {
        sUseCFStringTokenizer = true;
    }
    sImplementationChosen = true;
}

void CLanguageServicesMacOS::ForgetImplementation()
{
    sImplementationChosen = false;
    sUseNLLanguageRecognizer = false;
    sUseNSLinguisticTagger = false;
    sUseCFStringTokenizer = false;
}

void CLanguageServicesMacOS::LoadLanguageDefinitions(CFileSpec const&,
                                                     std::vector<std::string> const* languages)
{
    mIsFiltering = languages != nullptr;
    if (languages) mAccepted = *languages;
}

void CLanguageServicesMacOS::IdentifyLanguage(char16_t const* text,
                                              int length,
                                              std::string& language,
                                              float& confidence)
{
    language.clear();
    confidence = 0;
    ChooseImplementation();
    if (Recognize(text, std::max(length, 0), language)) IsAcceptableLanguage(language, confidence);
}

// The version is asked for each time: a recogniser that the system lacks is never called.
bool CLanguageServicesMacOS::Recognize(char16_t const* text, int length, std::string& language)
{
    CBasicLanguagePlatform& platform = LanguagePlatform();
    if (sUseNLLanguageRecognizer) {
        if (!platform.IsSystemAtLeast(kNLLanguageRecognizerSystem)) return false;
        if (!mRecognizer) mRecognizer = platform.MakeRecognizer();
        return platform.AskRecognizer(mRecognizer, text, length, language);
    }
    if (sUseNSLinguisticTagger) {
        return platform.IsSystemAtLeast(kNSLinguisticTaggerSystem) &&
               platform.AskTagger(text, length, language);
    }
    return sUseCFStringTokenizer && platform.AskTokenizer(text, length, language);
}

bool CLanguageServicesMacOS::IsAcceptableLanguage(std::string& language, float& confidence)
{
    bool const isName = !language.empty() && language != kUndetermined;
    bool const isAccepted =
        isName && (!mIsFiltering ||
                   std::find(mAccepted.begin(), mAccepted.end(), language) != mAccepted.end());
    confidence = isAccepted ? 1.0f : 0.0f;
    if (!isAccepted) language.clear();
    return isAccepted;
}
