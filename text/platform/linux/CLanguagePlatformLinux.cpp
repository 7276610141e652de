#include "text/CLanguageServicesGeneric.h"
#include "text/platform/CBasicLanguagePlatform.h"

namespace {

// The system has no recogniser of its own: all questions are answered with no.
class CLanguagePlatformLinux final : public CBasicLanguagePlatform
{
public:
    bool IsPreferenceTrue(char const* const*, size_t, char const*) const override { return false; }

    bool IsSystemAtLeast(LanguageSystemVersion const&) const override { return false; }

    void* MakeRecognizer() override { return nullptr; }

    bool AskRecognizer(void*, char16_t const*, int, std::string&) override { return false; }

    bool AskTagger(char16_t const*, int, std::string&) override { return false; }

    bool AskTokenizer(char16_t const*, int, std::string&) override { return false; }
};

}  // namespace

CBasicLanguagePlatform* NewLanguagePlatform()
{
    return new CLanguagePlatformLinux;
}

CLanguageServicesBase* NewLanguageServices()
{
    return new CLanguageServicesGeneric;
}
