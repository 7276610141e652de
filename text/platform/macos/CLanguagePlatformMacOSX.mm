#include "text/CLanguageServicesMacOS.h"
#include "text/platform/CBasicLanguagePlatform.h"

#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#import <NaturalLanguage/NaturalLanguage.h>

namespace {

// The text as the system takes it, not copied, for a scope.
class StText
{
public:
    StText(char16_t const* text, int length)
        : mText(CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault,
                                                   reinterpret_cast<UniChar const*>(text),
                                                   length,
                                                   kCFAllocatorNull))
    {
    }

    StText(StText const&) = delete;
    StText& operator=(StText const&) = delete;

    ~StText()
    {
        if (mText) CFRelease(mText);
    }

    CFStringRef Get() const { return mText; }

    NSString* GetNSString() const { return (NSString*)mText; }

private:
    CFStringRef mText;  // owned
};

bool TakeTag(NSString* tag, std::string& language)
{
    if (!tag) return false;
    language = tag.UTF8String;
    return true;
}

class CLanguagePlatformMacOSX final : public CBasicLanguagePlatform
{
public:
    bool IsPreferenceTrue(char const* const* suites, size_t count, char const* key) const override
    {
        @autoreleasepool {
            NSUserDefaults* const defaults = [[[NSUserDefaults alloc] init] autorelease];
            for (size_t i = 0; i < count; ++i)
                [defaults addSuiteNamed:[NSString stringWithUTF8String:suites[i]]];
            id const value = [defaults objectForKey:[NSString stringWithUTF8String:key]];
            return [value isKindOfClass:[NSNumber class]] && [(NSNumber*)value boolValue];
        }
    }

    bool IsSystemAtLeast(LanguageSystemVersion const& version) const override
    {
        @autoreleasepool {
            NSOperatingSystemVersion const wanted = {version.mMajor, version.mMinor,
                                                     version.mPatch};
            return [[NSProcessInfo processInfo] isOperatingSystemAtLeastVersion:wanted];
        }
    }

    void* MakeRecognizer() override { return [[NLLanguageRecognizer alloc] init]; }

    bool AskRecognizer(void* recognizer,
                       char16_t const* text,
                       int length,
                       std::string& language) override
    {
        @autoreleasepool {
            StText const wrapped(text, length);
            auto* const asked = static_cast<NLLanguageRecognizer*>(recognizer);
            [asked reset];
            [asked processString:wrapped.GetNSString()];
            return TakeTag(asked.dominantLanguage, language);
        }
    }

    bool AskTagger(char16_t const* text, int length, std::string& language) override
    {
        @autoreleasepool {
            StText const wrapped(text, length);
            return TakeTag([NSLinguisticTagger dominantLanguageForString:wrapped.GetNSString()],
                           language);
        }
    }

    bool AskTokenizer(char16_t const* text, int length, std::string& language) override
    {
        @autoreleasepool {
            StText const wrapped(text, length);
            CFStringRef const tag =
                CFStringTokenizerCopyBestStringLanguage(wrapped.Get(), CFRangeMake(0, length));
            bool const isFound = TakeTag((NSString*)tag, language);
            if (tag) CFRelease(tag);
            return isFound;
        }
    }
};

}  // namespace

CBasicLanguagePlatform* NewLanguagePlatform()
{
    return new CLanguagePlatformMacOSX;
}

CLanguageServicesBase* NewLanguageServices()
{
    return new CLanguageServicesMacOS;
}
