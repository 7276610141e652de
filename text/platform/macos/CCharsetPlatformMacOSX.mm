#include "text/platform/CBasicCharsetPlatform.h"

#include <CoreFoundation/CoreFoundation.h>

namespace {

// An owned string for a scope; null where CoreFoundation made none.
class StString
{
public:
    explicit StString(CFStringRef string)
        : mString(string)
    {
    }

    StString(StString const&) = delete;
    StString& operator=(StString const&) = delete;

    ~StString()
    {
        if (mString) CFRelease(mString);
    }

    CFStringRef Get() const { return mString; }

private:
    CFStringRef mString;  // owned
};

UInt8 const* Bytes(char const* text)
{
    return reinterpret_cast<UInt8 const*>(text);
}

class CCharsetPlatformMacOSX final : public CBasicCharsetPlatform
{
public:
    unsigned int GetEncoding(std::string const& name) const override
    {
        StString const string(CFStringCreateWithBytes(kCFAllocatorDefault, Bytes(name.data()),
                                                      static_cast<CFIndex>(name.size()),
                                                      kCFStringEncodingASCII, false));
        return string.Get() ? CFStringConvertIANACharSetNameToEncoding(string.Get())
                            : kCFStringEncodingInvalidId;
    }

    DecodeOutcome Decode(unsigned int encoding,
                         char const* source,
                         std::size_t size,
                         char16_t* target,
                         std::size_t capacity,
                         std::size_t* length) const override
    {
        StString const string(CFStringCreateWithBytesNoCopy(kCFAllocatorDefault, Bytes(source),
                                                            static_cast<CFIndex>(size), encoding,
                                                            true, kCFAllocatorNull));
        *length = 0;
        if (!string.Get()) return kDecodeRefused;
        CFIndex const units = CFStringGetLength(string.Get());
        *length = static_cast<std::size_t>(units);
        if (*length > capacity) return kDecodeNoRoom;
        CFStringGetCharacters(string.Get(), CFRangeMake(0, units),
                              reinterpret_cast<UniChar*>(target));
        return kDecoded;
    }

    bool Encode(unsigned int encoding,
                char16_t const* source,
                std::size_t length,
                char* target,
                std::size_t capacity,
                std::size_t* count,
                std::size_t* written) const override
    {
        constexpr UInt8 kLossByte = '?';
        *count = 0;
        *written = 0;
        auto const units = static_cast<CFIndex>(length);
        StString const string(CFStringCreateWithCharactersNoCopy(
            kCFAllocatorDefault, reinterpret_cast<UniChar const*>(source), units,
            kCFAllocatorNull));
        if (!string.Get()) return false;
        CFIndex used = 0;
        CFIndex const converted = CFStringGetBytes(
            string.Get(), CFRangeMake(0, units), encoding, kLossByte, false,
            reinterpret_cast<UInt8*>(target), static_cast<CFIndex>(capacity), &used);
        *count = static_cast<std::size_t>(converted);
        *written = static_cast<std::size_t>(used);
        return true;
    }
};

}  // namespace

CBasicCharsetPlatform* NewCharsetPlatform()
{
    return new CCharsetPlatformMacOSX;
}
