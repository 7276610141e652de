#include "system/platform/PropertyListParser.h"

#include "foundation/platform/macos/StReference.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cmath>
#include <utility>

namespace {

// From 1970 to 2001, where the system's dates begin.
constexpr std::int64_t kSecondsTo2001 = 978307200;

std::optional<CPropertyList> ValueOf(CFTypeRef value);

std::optional<std::string> TextOf(CFStringRef text)
{
    CFRange const all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    // Without a byte for what can't be converted it stops there.
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
        all.length) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(bytes.data()), size, nullptr);
    if (!CPropertyList::IsText(bytes)) return std::nullopt;
    return bytes;
}

std::optional<CPropertyList> NumberOf(CFNumberRef number)
{
    if (CFNumberIsFloatType(number)) {
        double real = 0;
        CFNumberGetValue(number, kCFNumberFloat64Type, &real);
        return CPropertyList(real);
    }
    std::int64_t whole = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &whole);
    return CPropertyList(whole);
}

std::optional<CPropertyList> DateOf(CFDateRef date)
{
    double const seconds = std::floor(CFDateGetAbsoluteTime(date));
    // Far beyond all that a calendar has, and still a number of seconds.
    if (!(std::abs(seconds) < 1e15)) return std::nullopt;
    return CPropertyList(CPropertyList::Date{static_cast<std::int64_t>(seconds) + kSecondsTo2001});
}

std::optional<CPropertyList> DataOf(CFDataRef data)
{
    UInt8 const* const bytes = CFDataGetBytePtr(data);
    return CPropertyList(CPropertyList::Data(bytes, bytes + CFDataGetLength(data)));
}

std::optional<CPropertyList> ArrayOf(CFArrayRef array)
{
    CPropertyList::Array values;
    CFIndex const count = CFArrayGetCount(array);
    for (CFIndex i = 0; i < count; ++i) {
        auto value = ValueOf(CFArrayGetValueAtIndex(array, i));
        if (!value) return std::nullopt;
        values.push_back(std::move(*value));
    }
    return CPropertyList(std::move(values));
}

std::optional<CPropertyList> DictionaryOf(CFDictionaryRef dictionary)
{
    auto const count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<void const*> keys(count);
    std::vector<void const*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    CPropertyList::Dictionary members;
    for (std::size_t i = 0; i < count; ++i) {
        if (CFGetTypeID(keys[i]) != CFStringGetTypeID()) return std::nullopt;
        auto key = TextOf(static_cast<CFStringRef>(keys[i]));
        auto value = ValueOf(values[i]);
        if (!key || !value) return std::nullopt;
        members.push_back({std::move(*key), std::move(*value)});
    }
    return CPropertyList(std::move(members));
}

std::optional<CPropertyList> ValueOf(CFTypeRef value)
{
    CFTypeID const type = CFGetTypeID(value);
    if (type == CFDictionaryGetTypeID()) return DictionaryOf(static_cast<CFDictionaryRef>(value));
    if (type == CFArrayGetTypeID()) return ArrayOf(static_cast<CFArrayRef>(value));
    if (type == CFNumberGetTypeID()) return NumberOf(static_cast<CFNumberRef>(value));
    if (type == CFDateGetTypeID()) return DateOf(static_cast<CFDateRef>(value));
    if (type == CFDataGetTypeID()) return DataOf(static_cast<CFDataRef>(value));
    if (type == CFBooleanGetTypeID()) {
        return CPropertyList(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0);
    }
    if (type != CFStringGetTypeID()) return std::nullopt;
    auto text = TextOf(static_cast<CFStringRef>(value));
    if (!text) return std::nullopt;
    return CPropertyList(std::move(*text));
}

}  // namespace

std::optional<CPropertyList> ParsePropertyList(std::string_view bytes)
{
    StReference<CFDataRef> const data(CFDataCreate(kCFAllocatorDefault,
                                                   reinterpret_cast<UInt8 const*>(bytes.data()),
                                                   static_cast<CFIndex>(bytes.size())));
    if (!data.Get()) return std::nullopt;
    CFPropertyListFormat format = kCFPropertyListXMLFormat_v1_0;
    StReference<CFPropertyListRef> const list(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, &format, nullptr));
    if (!list.Get()) return std::nullopt;
    // Any text is a string in the form of old.
    bool const isGarbage =
        format == kCFPropertyListOpenStepFormat && CFGetTypeID(list.Get()) == CFStringGetTypeID();
    return isGarbage ? std::nullopt : ValueOf(list.Get());
}
