#include "text/CLanguageServicesGeneric.h"

#include "files/CFileSpec.h"
#include "text/CUTFConverter.h"
#include "text/LanguageGuesser.h"

CLanguageServicesGeneric::CLanguageServicesGeneric()
    : mGuesser(mguesserAlloc())
{
}

CLanguageServicesGeneric::~CLanguageServicesGeneric()
{
    mguesserRelease(mGuesser);
}

void CLanguageServicesGeneric::LoadLanguageDefinitions(CFileSpec const& folder,
                                                       std::vector<std::string> const* languages)
{
    // Unloading would leave a handle that is good for nothing. Where no profile was loaded there
    // may still be those that failed, which count as profiles.
    mguesserRelease(mGuesser);
    mGuesser = mguesserAlloc();
    mIsLoaded = false;
    if (!folder.Exist() || !folder.IsFolder()) return;

    std::string path;
    folder.GetFullPath8bit(&path);
    std::string filter;
    if (languages) {
        for (std::string const& name : *languages)
            filter.append(filter.empty() ? "" : " ") += name;
    }
    mIsLoaded =
        mguesserLoadDefinitions(mGuesser, path.c_str(), languages ? filter.c_str() : nullptr);
}

void CLanguageServicesGeneric::IdentifyLanguage(char const* text,
                                                int length,
                                                std::string& language,
                                                float& confidence)
{
    char const* name = nullptr;
    confidence = 0;
    if (mIsLoaded) mguesserParseDataLen(mGuesser, text, length, &name, &confidence);
    language = name ? name : "";
}

void CLanguageServicesGeneric::IdentifyLanguage(char16_t const* text,
                                                int length,
                                                std::string& language,
                                                float& confidence)
{
    std::string bytes;
    CUTFConverter::ConvertUTF16toUTF8(text, length, bytes, CUTFConverter::kLenientMode);
    CLanguageServicesBase::IdentifyLanguage(bytes, language, confidence);
}
